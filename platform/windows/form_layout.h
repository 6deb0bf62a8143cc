// How a form's layout becomes a window: twips to the screen's pixels, the dialog and its
// controls, and a font in which the labels fit.
#pragma once

#include <span>
#include <vector>

#include "platform/forms.h"
#include "platform/handles.h"

namespace forms {

struct FontKind {
    using Value = HFONT;
    static Value Nothing() noexcept { return nullptr; }
    static void Close(Value value) noexcept { DeleteObject(value); }
};
using Font = handles::Owned<FontKind>;

// Creates the dialog of the layout, without its controls, invisible and centred on the
// part of the screen that no task bar covers. parameter reaches the procedure as lParam of
// WM_INITDIALOG. Null, with the last error code set, if the system refuses.
[[nodiscard]] HWND CreateFormWindow(const Layout& layout, DLGPROC procedure, LPARAM parameter);

// Creates the controls in the layout's order, which makes it the tab order. Empty, with
// the last error code set, if the system refuses.
[[nodiscard]] std::vector<HWND> CreateControls(const Layout& layout, HWND form);

// Gives all controls the system's message font, smaller where a label's text would not
// fit otherwise. The caller keeps the font for as long as the controls live.
[[nodiscard]] Font ApplyFont(const Layout& layout, std::span<const HWND> controls);

// The button's number in the messages that the dialog manager sends.
inline constexpr int kButtonId = IDOK;

[[nodiscard]] bool HasButton(const Layout& layout);

}  // namespace forms
