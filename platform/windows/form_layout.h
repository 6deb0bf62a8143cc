// How a form's layout becomes a window: twips to the screen's pixels, the dialog, its font
// and its controls.
#pragma once

#include <vector>

#include "platform/forms.h"

namespace forms {

// Creates the dialog of the layout, without its controls, invisible and centred on the
// screen. With an owner it has a button on the task bar all the same. parameter reaches
// the procedure as lParam of WM_INITDIALOG. Null, with the last error code set, if the
// system refuses.
[[nodiscard]] HWND CreateFormWindow(const Layout& layout, HWND owner, DLGPROC procedure,
                                    LPARAM parameter);

// Creates the controls in the layout's order, which makes it the tab order, with the
// dialog's font. Empty, with the last error code set, if the system refuses.
[[nodiscard]] std::vector<HWND> CreateControls(const Layout& layout, HWND form);

// The button's number in the messages that the dialog manager sends.
inline constexpr int kButtonId = IDOK;

[[nodiscard]] bool HasButton(const Layout& layout);

// A hidden window, centred on the screen, that owns what has no form to belong to. Null if
// the system refuses.
[[nodiscard]] HWND CreateHiddenOwner();

// Gives a window the program's icon.
void SetIcons(HWND window);

}  // namespace forms
