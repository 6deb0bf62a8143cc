// Makes user32 dialogs and controls of the layouts, in the resolution of the screen.
#include "platform/windows/form_layout.h"

#include <array>
#include <string>

#include "platform/handles.h"

namespace forms {

namespace {

constexpr int kTwipsPerInch = 1440;
constexpr WORD kFontSize = 8;  // points: the size that the layouts were measured with
constexpr WORD kProgramIcon = 1;

struct Resolution {
    int horizontal, vertical;  // pixels an inch

    static Resolution OfScreen() {
        HDC screen = GetDC(nullptr);
        const Resolution found{GetDeviceCaps(screen, LOGPIXELSX),
                               GetDeviceCaps(screen, LOGPIXELSY)};
        ReleaseDC(nullptr, screen);
        return found;
    }
    [[nodiscard]] int X(int twips) const { return MulDiv(twips, horizontal, kTwipsPerInch); }
    [[nodiscard]] int Y(int twips) const { return MulDiv(twips, vertical, kTwipsPerInch); }
};

// Both edges are rounded rather than position and size, so that margins that are equal in
// twips stay equal.
RECT Pixels(const Place& place) {
    const Resolution screen = Resolution::OfScreen();
    return {screen.X(place.left), screen.Y(place.top), screen.X(place.left + place.width),
            screen.Y(place.top + place.height)};
}

struct ControlClass {
    const char* name;
    DWORD style, extendedStyle;
};

// Each control is a group of its own: the arrow keys have nowhere to go.
ControlClass ClassOf(ControlKind kind) {
    switch (kind) {
        case ControlKind::Label:
            return {"Static", SS_LEFT | SS_NOPREFIX | WS_GROUP, 0};
        case ControlKind::CentredLabel:
            return {"Static", SS_CENTER | SS_NOPREFIX | WS_GROUP, 0};
        case ControlKind::TextBox:
            return {
                "Edit",
                ES_MULTILINE | ES_READONLY | ES_AUTOVSCROLL | WS_VSCROLL | WS_GROUP | WS_TABSTOP,
                WS_EX_CLIENTEDGE};
        case ControlKind::Button:
            break;
    }
    return {"Button", BS_DEFPUSHBUTTON | WS_GROUP | WS_TABSTOP, 0};
}

HWND CreateControl(const Control& control, int id, HWND form) {
    const ControlClass kind = ClassOf(control.kind);
    const RECT place = Pixels(control.place);
    HWND window = CreateWindowExA(kind.extendedStyle, kind.name, std::string(control.text).c_str(),
                                  kind.style | WS_CHILD | WS_VISIBLE, place.left, place.top,
                                  place.right - place.left, place.bottom - place.top, form,
                                  reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)),
                                  GetModuleHandleA(nullptr), nullptr);
    if (window != nullptr && control.kind == ControlKind::TextBox) {
        // 0 stands for as much as the system can keep; without it 32 KB.
        SendMessageA(window, EM_SETLIMITTEXT, 0, 0);
    }
    return window;
}

// The system's name for its dialog font: the second one since Windows 2000, as its table
// of substitutes tells.
const wchar_t* DialogFont() {
    constexpr char kSubstitutes[] =
        "Software\\Microsoft\\Windows NT\\CurrentVersion\\FontSubstitutes";
    handles::Key key;
    const bool found = RegOpenKeyExA(HKEY_LOCAL_MACHINE, kSubstitutes, 0, KEY_QUERY_VALUE,
                                     key.Receive()) == ERROR_SUCCESS &&
                       RegQueryValueExA(key.Get(), "MS Shell Dlg 2", nullptr, nullptr, nullptr,
                                        nullptr) == ERROR_SUCCESS;
    return found ? L"MS Shell Dlg 2" : L"MS Shell Dlg";
}

// A dialog template without controls; no menu, the dialog's own class, no title yet. The
// dialog manager makes the font in the screen's resolution, and ends it with the dialog.
struct alignas(DWORD) Template {
    DLGTEMPLATE head;
    WORD menu, windowClass, title, fontSize;
    std::array<wchar_t, 16> font;
};

void CentreOnScreen(HWND form, int width, int height) {
    SetWindowPos(form, nullptr, (GetSystemMetrics(SM_CXSCREEN) - width) / 2,
                 (GetSystemMetrics(SM_CYSCREEN) - height) / 2, width, height,
                 SWP_NOZORDER | SWP_NOACTIVATE);
}

}  // namespace

int ControlId(const Layout& layout, std::size_t control) {
    const bool button = layout.controls[control].kind == ControlKind::Button;
    return button ? IDOK : kFirstControlId + static_cast<int>(control);
}

HWND CreateFormWindow(const Layout& layout, DLGPROC procedure, LPARAM parameter) {
    constexpr DWORD kStyle = DS_SETFONT | WS_POPUP | WS_CAPTION | WS_SYSMENU;
    Template empty{{kStyle, WS_EX_DLGMODALFRAME, 0, 0, 0, 0, 0}, 0, 0, 0, kFontSize, {}};
    lstrcpyW(empty.font.data(), DialogFont());
    HWND form = CreateDialogIndirectParamA(GetModuleHandleA(nullptr), &empty.head, nullptr,
                                           procedure, parameter);
    if (form == nullptr) {
        return nullptr;
    }
    RECT frame = Pixels({0, 0, layout.width, layout.height});
    AdjustWindowRectEx(&frame, static_cast<DWORD>(GetWindowLongA(form, GWL_STYLE)), FALSE,
                       static_cast<DWORD>(GetWindowLongA(form, GWL_EXSTYLE)));
    CentreOnScreen(form, frame.right - frame.left, frame.bottom - frame.top);
    SetWindowTextA(form, std::string(layout.title).c_str());
    if (!layout.closeBox) {
        // Grey in the menu, grey on the title bar.
        EnableMenuItem(GetSystemMenu(form, FALSE), SC_CLOSE, MF_BYCOMMAND | MF_GRAYED);
    }
    return form;
}

bool CreateControls(const Layout& layout, HWND form) {
    const auto font = static_cast<WPARAM>(SendMessageA(form, WM_GETFONT, 0, 0));
    for (std::size_t i = 0; i < layout.controls.size(); ++i) {
        HWND window = CreateControl(layout.controls[i], ControlId(layout, i), form);
        if (window == nullptr) {
            return false;
        }
        SendMessageA(window, WM_SETFONT, font, FALSE);
    }
    return true;
}

void SetIcons(HWND form) {
    // There is one size of it, which the system fits in.
    HICON icon = LoadIconA(GetModuleHandleA(nullptr), MAKEINTRESOURCEA(kProgramIcon));
    SendMessageA(form, WM_SETICON, ICON_BIG, reinterpret_cast<LPARAM>(icon));
    SendMessageA(form, WM_SETICON, ICON_SMALL, reinterpret_cast<LPARAM>(icon));
}

}  // namespace forms
