// Message boxes: answered from answers.txt, in the terminal, or by their default button.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "platform/hosted/registry/registry.h"
#include "platform/hosted/ui/dialog.h"
#include "platform/hosted/ui/ui.h"

namespace hosted {
namespace {

constexpr unsigned kMostUnanswered = 1000;

struct BoxButton {
    int id;
    std::string_view word;   // in answers.txt, in any case, and in transcript.txt
    std::string_view label;  // as a German Windows has it
};
using Buttons = std::vector<BoxButton>;

Buttons ButtonsOf(UINT style) {
    switch (style & 0xF) {
        case MB_OK:
            return {{IDOK, "OK", "&OK"}};
        case MB_ABORTRETRYIGNORE:
            return {{IDABORT, "Abort", "&Abbrechen"},
                    {IDRETRY, "Retry", "&Wiederholen"},
                    {IDIGNORE, "Ignore", "&Ignorieren"}};
        case MB_YESNO:
            return {{IDYES, "Yes", "&Ja"}, {IDNO, "No", "&Nein"}};
        case MB_RETRYCANCEL:
            return {{IDRETRY, "Retry", "&Wiederholen"}, {IDCANCEL, "Cancel", "&Abbrechen"}};
        default:
            return {};
    }
}

std::optional<std::size_t> Position(const Buttons& buttons, std::string_view word) {
    for (std::size_t i = 0; i < buttons.size(); ++i) {
        if (EqualIgnoringCase(buttons[i].word, word)) {
            return i;
        }
    }
    return std::nullopt;
}

Dialog DialogOf(LPCSTR text, LPCSTR caption, UINT style, const Buttons& buttons) {
    Dialog dialog;
    dialog.title = caption;
    dialog.icon = ((style >> 4) & 0xF) % 5;  // there are no others
    dialog.texts.push_back({text});
    for (const BoxButton& button : buttons) {
        dialog.buttons.emplace_back(button.label);
    }
    const std::size_t focus = (style >> 8) & 0xF;
    dialog.focus = focus < buttons.size() ? focus : 0;
    // Escape is Cancel if there is one, the only button, or nothing.
    dialog.escape = buttons.size() == 1 ? 0 : Position(buttons, "cancel");
    return dialog;
}

std::size_t ChoiceIn(Dialog& dialog, const Buttons& buttons) {
    if (const std::optional<std::string> answer = TakeAnswer()) {
        const auto chosen = *answer == "enter"    ? dialog.focus
                            : *answer == "escape" ? dialog.escape
                                                  : Position(buttons, *answer);
        if (!chosen) {
            Record("misfit", {FromUtf8(*answer)});
        }
        return chosen.value_or(dialog.focus);
    }
    if (HasTerminal()) {
        return Ask(dialog);
    }
    // A program that asks the same again and again must not fill the disk with its record.
    UiState& state = Ui();
    const std::string& text = dialog.texts[0].text;
    state.times = state.unanswered == text ? state.times + 1 : 1;
    state.unanswered = text;
    if (state.times > kMostUnanswered) {
        static_cast<void>(
            std::fputs("UnInstall: nobody answers, and the questions have no end.\n", stderr));
        std::_Exit(2);
    }
    return dialog.focus;
}

}  // namespace
}  // namespace hosted

int WINAPI MessageBoxA(HWND, LPCSTR text, LPCSTR caption, UINT style) {
    const hosted::LayerScope layer;
    hosted::SaveRegistry();
    const std::string_view line = std::string_view(text).substr(0, std::strcspn(text, "\r"));
    hosted::Call call("MessageBoxA", hosted::ToUtf8(line));
    if (call.Refused()) {
        return 0;
    }
    const hosted::Buttons buttons = hosted::ButtonsOf(style);
    if (buttons.empty()) {
        return call.Fail(1438);  // ERROR_INVALID_MSGBOX_STYLE
    }
    hosted::Dialog dialog = hosted::DialogOf(text, caption, style, buttons);
    std::string look{'[', " x?!i"[dialog.icon], ']'};
    for (const hosted::BoxButton& button : buttons) {
        look.append(&button == &buttons[dialog.focus] ? " *" : " ").append(button.word);
    }
    const hosted::BoxButton& chosen = buttons[hosted::ChoiceIn(dialog, buttons)];
    hosted::Record("box", {look, caption, text, chosen.word});
    return chosen.id;
}

// A terminal has one foreground only.
BOOL WINAPI AllowSetForegroundWindow(DWORD /*processId*/) {
    const hosted::Call call("AllowSetForegroundWindow");
    return call.Refused() ? FALSE : TRUE;
}

// Whoever shows icons and verbs would read them again.
void WINAPI SHChangeNotify(LONG event, UINT flags, LPCVOID /*item1*/, LPCVOID /*item2*/) {
    const hosted::Call call("SHChangeNotify");
    hosted::Record("notify", {std::to_string(event), std::to_string(flags)});
}

BOOL WINAPI MessageBeep(UINT type) {
    const hosted::Call call("MessageBeep");
    if (call.Refused()) {
        return FALSE;
    }
    hosted::Record("beep", {std::to_string(type)});
    hosted::WriteTerminal("\a");
    return TRUE;
}
