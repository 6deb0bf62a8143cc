#include "platform/windows/form_layout.h"

#include <algorithm>
#include <string>

namespace forms {

namespace {

constexpr int kTwipsPerInch = 1440;
constexpr int kPointsPerInch = 72;
constexpr int kSmallestFont = 8;  // points: the size that the layouts were measured with
constexpr int kFirstPlainId = 100;

// The screen's device context; it also measures texts.
class ScreenContext {
 public:
    ScreenContext() : context_(GetDC(nullptr)) {}
    ScreenContext(const ScreenContext&) = delete;
    ScreenContext& operator=(const ScreenContext&) = delete;
    ~ScreenContext() { ReleaseDC(nullptr, context_); }
    [[nodiscard]] HDC Get() const { return context_; }

 private:
    HDC context_;
};

struct Resolution {
    int horizontal, vertical;  // pixels an inch

    static Resolution OfScreen() {
        const ScreenContext screen;
        return {GetDeviceCaps(screen.Get(), LOGPIXELSX), GetDeviceCaps(screen.Get(), LOGPIXELSY)};
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

// The font of message boxes; false on a system that does not tell it.
bool MessageFont(LOGFONTA& font) {
    NONCLIENTMETRICSA metrics{};
    metrics.cbSize = sizeof(metrics);
    if (SystemParametersInfoA(SPI_GETNONCLIENTMETRICS, sizeof(metrics), &metrics, 0) != FALSE) {
        font = metrics.lfMessageFont;
        return true;
    }
    return GetObjectA(GetStockObject(DEFAULT_GUI_FONT), sizeof(font), &font) != 0;
}

std::string TextOf(HWND control) {
    std::string text(static_cast<std::size_t>(GetWindowTextLengthA(control)) + 1, '\0');
    const int length = GetWindowTextA(control, text.data(), static_cast<int>(text.size()));
    text.resize(static_cast<std::size_t>(length));
    return text;
}

bool Fits(HWND label, HFONT font) {
    const std::string text = TextOf(label);
    RECT place{};
    GetClientRect(label, &place);
    RECT needed = place;
    const ScreenContext screen;
    HGDIOBJ before = SelectObject(screen.Get(), font);
    DrawTextA(screen.Get(), text.c_str(), static_cast<int>(text.size()), &needed,
              DT_CALCRECT | DT_WORDBREAK | DT_NOPREFIX | DT_EXPANDTABS);
    SelectObject(screen.Get(), before);
    return needed.right <= place.right && needed.bottom <= place.bottom;
}

bool LabelsFit(const Layout& layout, std::span<const HWND> controls, HFONT font) {
    for (std::size_t i = 0; i < controls.size(); ++i) {
        const ControlKind kind = layout.controls[i].kind;
        const bool label = kind == ControlKind::Label || kind == ControlKind::CentredLabel;
        if (label && !Fits(controls[i], font)) {
            return false;
        }
    }
    return true;
}

}  // namespace

bool HasButton(const Layout& layout) {
    return std::any_of(layout.controls.begin(), layout.controls.end(),
                       [](const Control& control) { return control.kind == ControlKind::Button; });
}

HWND CreateFormWindow(const Layout& layout, DLGPROC procedure, LPARAM parameter) {
    // A dialog template without controls; no menu, the dialog's own class, no title yet.
    struct alignas(DWORD) Template {
        DLGTEMPLATE head;
        WORD menu, windowClass, title;
    };
    const DWORD systemMenu = layout.closeBox ? WS_SYSMENU : 0;
    const Template empty{
        {WS_POPUP | WS_CAPTION | systemMenu, WS_EX_DLGMODALFRAME, 0, 0, 0, 0, 0}, 0, 0, 0};
    HWND form = CreateDialogIndirectParamA(GetModuleHandleA(nullptr), &empty.head, nullptr,
                                           procedure, parameter);
    if (form == nullptr) {
        return nullptr;
    }
    RECT frame = Pixels({0, 0, layout.width, layout.height});
    AdjustWindowRectEx(&frame, static_cast<DWORD>(GetWindowLongA(form, GWL_STYLE)), FALSE,
                       static_cast<DWORD>(GetWindowLongA(form, GWL_EXSTYLE)));
    const int width = frame.right - frame.left;
    const int height = frame.bottom - frame.top;
    SetWindowPos(form, nullptr, (GetSystemMetrics(SM_CXSCREEN) - width) / 2,
                 (GetSystemMetrics(SM_CYSCREEN) - height) / 2, width, height,
                 SWP_NOZORDER | SWP_NOACTIVATE);
    SetWindowTextA(form, std::string(layout.title).c_str());
    return form;
}

std::vector<HWND> CreateControls(const Layout& layout, HWND form) {
    std::vector<HWND> controls;
    for (const Control& control : layout.controls) {
        const bool button = control.kind == ControlKind::Button;
        const int id = button ? kButtonId : kFirstPlainId + static_cast<int>(controls.size());
        HWND window = CreateControl(control, id, form);
        if (window == nullptr) {
            return {};
        }
        controls.push_back(window);
    }
    return controls;
}

Font ApplyFont(const Layout& layout, std::span<const HWND> controls) {
    LOGFONTA description{};
    if (!MessageFont(description)) {
        return {};
    }
    // Newer systems have a larger message font than the layouts were measured with.
    const LONG smallest = MulDiv(kSmallestFont, Resolution::OfScreen().vertical, kPointsPerInch);
    Font font(CreateFontIndirectA(&description));
    while (font && std::abs(description.lfHeight) > smallest &&
           !LabelsFit(layout, controls, font.Get())) {
        description.lfHeight += description.lfHeight < 0 ? 1 : -1;
        font = Font(CreateFontIndirectA(&description));
    }
    for (HWND control : controls) {
        SendMessageA(control, WM_SETFONT, reinterpret_cast<WPARAM>(font.Get()), TRUE);
    }
    return font;
}

}  // namespace forms
