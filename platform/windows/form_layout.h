// How a form's layout becomes a window: twips to the screen's pixels, the dialog, its font
// and its controls. A dialog among the resources would not do: it is measured in the size of
// its font.
#pragma once

#include "platform/forms.h"

namespace forms {

// Creates the dialog of the layout, without its controls, invisible and centred on the
// screen. It has no owner, and so a button in the task bar. parameter reaches the procedure as
// lParam of WM_INITDIALOG. Null, with the last error code set, if the system refuses.
[[nodiscard]] HWND CreateFormWindow(const Layout& layout, DLGPROC procedure, LPARAM parameter);

// The numbers of the controls in the messages that the dialog manager sends: IDOK for the
// button, the others by their position in the layout.
inline constexpr int kFirstControlId = 100;
[[nodiscard]] int ControlId(const Layout& layout, std::size_t control);

// Creates the controls in the layout's order, which makes it the tab order, with the
// dialog's font. False, with the last error code set, if the system refuses.
[[nodiscard]] bool CreateControls(const Layout& layout, HWND form);

// Gives a form the program's icon.
void SetIcons(HWND form);

}  // namespace forms
