// Message boxes, and what else tells the user or the shell something.
#include <cstring>

#include "platform/hosted/registry/registry.h"
#include "platform/hosted/ui/ui.h"

namespace hosted {
namespace {

constexpr DWORD kInvalidStyle = 1438;  // ERROR_INVALID_MSGBOX_STYLE

struct Button {
    int id;
    Choice choice;
};

// Escape is Cancel if there is one, the only button, or nothing.
std::vector<Button> ButtonsOf(UINT style) {
    switch (style & 0xF) {
        case MB_OK:
            return {{IDOK, {"OK escape", "OK"}}};
        case MB_ABORTRETRYIGNORE:
            return {{IDABORT, {"Abort", "Abbrechen"}},
                    {IDRETRY, {"Retry", "Wiederholen"}},
                    {IDIGNORE, {"Ignore", "Ignorieren"}}};
        case MB_YESNO:
            return {{IDYES, {"Yes", "Ja"}}, {IDNO, {"No", "Nein"}}};
        case MB_RETRYCANCEL:
            return {{IDRETRY, {"Retry", "Wiederholen"}},
                    {IDCANCEL, {"Cancel escape", "Abbrechen"}}};
        default:
            return {};
    }
}

// Asks, records, and gives the button.
int Show(std::string_view text, std::string_view caption, UINT style,
         const std::vector<Button>& buttons) {
    const char icon = " x?!i"[((style >> 4) & 0xF) % 5];  // there are no others
    const std::size_t wanted = (style >> 8) & 0xF;
    const std::size_t byDefault = wanted < buttons.size() ? wanted : 0;
    std::string look{'[', icon, ']'};
    Choices choices;
    for (const Button& button : buttons) {
        look += choices.size() == byDefault ? " *" : " ";
        look += button.choice.words.substr(0, button.choice.words.find(' '));
        choices.push_back(button.choice);
    }
    Print("\n== " + std::string(caption) + " ==\n" + (icon == ' ' ? "" : look.substr(0, 3) + ' ') +
          std::string(text) + "\n");
    const Button& chosen = buttons[Ask(choices, byDefault)];
    Record("box",
           {look, caption, text, chosen.choice.words.substr(0, chosen.choice.words.find(' '))});
    return chosen.id;
}

}  // namespace
}  // namespace hosted

int WINAPI MessageBoxA(HWND, LPCSTR text, LPCSTR caption, UINT style) {
    const hosted::LayerScope layer;
    hosted::SaveRegistry();
    hosted::Call call("MessageBoxA", std::string_view(text).substr(0, std::strcspn(text, "\r")));
    const std::vector<hosted::Button> buttons = hosted::ButtonsOf(style);
    const BOOL shown =
        call.Run([&] { return buttons.empty() ? hosted::kInvalidStyle : ERROR_SUCCESS; });
    return shown != FALSE ? hosted::Show(text, caption, style, buttons) : 0;
}

// A terminal has one foreground only.
BOOL WINAPI AllowSetForegroundWindow(DWORD /*processId*/) {
    return hosted::Call("AllowSetForegroundWindow").Run();
}

// Whoever shows icons and verbs would read them again.
void WINAPI SHChangeNotify(LONG event, UINT flags, LPCVOID /*item1*/, LPCVOID /*item2*/) {
    const hosted::Call call("SHChangeNotify");
    hosted::Record("notify", {std::to_string(event), std::to_string(flags)});
}

BOOL WINAPI MessageBeep(UINT type) {
    hosted::Call call("MessageBeep");
    if (call.Run() == FALSE) {
        return FALSE;
    }
    hosted::Record("beep", {std::to_string(type)});
    return TRUE;
}
