// Message boxes: answered from answers.txt, in the terminal, or by their default button.
#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "platform/hosted/dialog_view.h"
#include "platform/hosted/machine.h"
#include "platform/hosted/ui_answers.h"

namespace hosted {
namespace {

constexpr DWORD kInvalidStyle = 1438;  // ERROR_INVALID_MSGBOX_STYLE
constexpr UINT kButtonsMask = 0xF;
constexpr UINT kIconMask = 0xF0;
constexpr UINT kDefaultMask = 0xF00;
constexpr int kLookAtSize = 250;  // milliseconds without a key

struct BoxButton {
    int id;
    std::string_view word;   // in answers.txt and transcript.txt
    std::string_view label;  // as a German Windows has it
};

constexpr BoxButton kOk{IDOK, "ok", "&OK"};
constexpr BoxButton kCancel{IDCANCEL, "cancel", "&Abbrechen"};
constexpr BoxButton kAbort{IDABORT, "abort", "&Abbrechen"};
constexpr BoxButton kRetry{IDRETRY, "retry", "&Wiederholen"};
constexpr BoxButton kIgnore{IDIGNORE, "ignore", "&Ignorieren"};
constexpr BoxButton kYes{IDYES, "yes", "&Ja"};
constexpr BoxButton kNo{IDNO, "no", "&Nein"};

std::vector<BoxButton> ButtonsOf(UINT style) {
    switch (style & kButtonsMask) {
        case MB_OK:
            return {kOk};
        case MB_ABORTRETRYIGNORE:
            return {kAbort, kRetry, kIgnore};
        case MB_YESNO:
            return {kYes, kNo};
        case MB_RETRYCANCEL:
            return {kRetry, kCancel};
        default:
            return {};
    }
}

Symbol SymbolOf(UINT style) {
    switch (style & kIconMask) {
        case MB_ICONHAND:
            return Symbol::Stop;
        case MB_ICONQUESTION:
            return Symbol::Question;
        case MB_ICONEXCLAMATION:
            return Symbol::Warning;
        case MB_ICONASTERISK:
            return Symbol::Information;
        default:
            return Symbol::None;
    }
}

struct Box {
    std::string text, caption;
    UINT style;
    std::vector<BoxButton> buttons;
    std::size_t defaultButton;

    // What Escape does, and the close box: Cancel if there is one, the only button, or
    // nothing.
    [[nodiscard]] const BoxButton* OnEscape() const {
        const auto cancel = std::find_if(buttons.begin(), buttons.end(),
                                         [](const BoxButton& b) { return b.id == IDCANCEL; });
        return cancel != buttons.end() ? &*cancel : buttons.size() == 1 ? &buttons[0] : nullptr;
    }
};

struct Reply {
    int id;
    std::string word;
};

Reply ReplyOf(const BoxButton& button) {
    return {button.id, std::string(button.word)};
}

std::optional<Reply> ReplyFor(const Box& box, const std::string& answer) {
    if (answer == "enter") {
        return ReplyOf(box.buttons[box.defaultButton]);
    }
    if (answer == "escape") {
        const BoxButton* const button = box.OnEscape();
        return button != nullptr ? std::optional(ReplyOf(*button)) : std::nullopt;
    }
    if (answer == "fail") {
        return Reply{0, answer};
    }
    if (answer.size() > 1 && answer.front() == '=') {
        char* end = nullptr;
        const long number = std::strtol(answer.c_str() + 1, &end, 10);
        return *end == '\0' ? std::optional(Reply{static_cast<int>(number), answer}) : std::nullopt;
    }
    for (const BoxButton& button : box.buttons) {
        if (button.word == answer) {
            return ReplyOf(button);
        }
    }
    return std::nullopt;
}

std::string WordsOf(const Box& box) {
    std::string words("the box has");
    for (const BoxButton& button : box.buttons) {
        words.append(" ").append(button.word);
    }
    return words;
}

// The answer that the file has, if it has one.
std::optional<Reply> FromFile(const Box& box) {
    Question question;
    for (;;) {
        switch (question.Look()) {
            case Question::State::Open:
                return std::nullopt;
            case Question::State::Waiting:
                break;
            case Question::State::Answered:
                if (std::optional<Reply> reply = ReplyFor(box, question.Answer())) {
                    return reply;
                }
                question.Refuse(WordsOf(box));
                return ReplyOf(box.buttons[box.defaultButton]);
        }
    }
}

Reply FromTerminal(const Box& box) {
    Dialog dialog;
    dialog.title = box.caption;
    dialog.symbol = SymbolOf(box.style);
    dialog.texts.push_back({box.text});
    for (const BoxButton& button : box.buttons) {
        dialog.buttons.push_back(ButtonOf(button.label));
    }
    dialog.focus = box.defaultButton;
    DialogView view(std::move(dialog));
    for (;;) {
        const std::optional<DialogAction> action = view.Poll(kLookAtSize);
        if (!action) {
            continue;
        }
        const BoxButton* const button = action->kind == DialogAction::Kind::Button
                                            ? &box.buttons[action->button]
                                            : box.OnEscape();
        if (button != nullptr) {
            view.ShowChoice(static_cast<std::size_t>(button - box.buttons.data()));
            return ReplyOf(*button);
        }
    }
}

struct Unanswered {
    std::string text;
    unsigned times = 0;
};

// The default; a program that asks the same again and again must not fill the disk with its
// record.
Reply FromNobody(const Box& box) {
    constexpr unsigned kMost = 1000;
    auto& last = Machine::Current().Part<Unanswered>();
    if (last.text != box.text) {
        last = {box.text, 0};
    }
    if (++last.times > kMost) {
        static_cast<void>(
            std::fputs("UnInstall: nobody answers, and the questions have no end.\n", stderr));
        std::_Exit(2);
    }
    return ReplyOf(box.buttons[box.defaultButton]);
}

Reply Ask(const Box& box) {
    if (std::optional<Reply> reply = FromFile(box)) {
        return *std::move(reply);
    }
    return HasTerminal() ? FromTerminal(box) : FromNobody(box);
}

// Which box it is, for those who tell boxes apart: the first line of its text, UTF-8.
std::string FirstLine(LPCSTR text) {
    const LayerScope layer;
    const std::string line = ToUtf8(text == nullptr ? "" : text);
    return line.substr(0, line.find('\r'));
}

}  // namespace
}  // namespace hosted

int WINAPI MessageBoxA(HWND, LPCSTR text, LPCSTR caption, UINT style) {
    hosted::Call call("MessageBoxA", hosted::FirstLine(text));
    if (call.Refused()) {
        return 0;
    }
    hosted::Box box{text != nullptr ? text : "", caption != nullptr ? caption : "", style,
                    hosted::ButtonsOf(style), (style & hosted::kDefaultMask) >> 8};
    if (box.buttons.empty()) {
        return call.Fail(hosted::kInvalidStyle);
    }
    if (box.defaultButton >= box.buttons.size()) {
        box.defaultButton = 0;
    }
    const hosted::Reply reply = hosted::Ask(box);
    hosted::Record("box", {std::to_string(style), box.caption, box.text, reply.word});
    return reply.id == 0 ? call.Fail(ERROR_NOT_ENOUGH_MEMORY) : reply.id;
}

// A terminal has one foreground only.
BOOL WINAPI AllowSetForegroundWindow(DWORD /*processId*/) {
    hosted::Call call("AllowSetForegroundWindow");
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
    if (hosted::HasTerminal()) {
        hosted::WriteTerminal("\a");
    }
    return TRUE;
}
