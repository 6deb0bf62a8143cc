#include "tests/support/windows/answerer.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <deque>
#include <mutex>
#include <set>
#include <thread>

#include "platform/win32.h"
#include "tests/support/flow.h"

namespace support {
namespace {

constexpr std::array<const char*, 8> kButtonNames{"",      "OK",     "Cancel", "Abort",
                                                  "Retry", "Ignore", "Yes",    "No"};
struct Key {
    const char* answer;
    BYTE key;
    bool withAlt;
};
constexpr Key kKeys[] = {{"enter", VK_RETURN, false},
                         {"escape", VK_ESCAPE, false},
                         {"alt+o", 'O', true},
                         {"alt+f4", VK_F4, true}};

std::string Text(HWND window) {
    std::string text(static_cast<std::size_t>(SendMessageA(window, WM_GETTEXTLENGTH, 0, 0)) + 1,
                     '\0');
    const auto length =
        SendMessageA(window, WM_GETTEXT, text.size(), reinterpret_cast<LPARAM>(text.data()));
    text.resize(static_cast<std::size_t>(length));
    return ToUtf8(text);
}

// What there is to be seen in a window.
struct Parts {
    explicit Parts(HWND window);
    bool icon = false, list = false;
    std::vector<HWND> buttons;  // from left to right
    std::string texts;
};

Parts::Parts(HWND window) {
    for (HWND child = GetWindow(window, GW_CHILD); child != nullptr;
         child = GetWindow(child, GW_HWNDNEXT)) {
        std::array<char, 64> name{};
        GetClassNameA(child, name.data(), static_cast<int>(name.size()));
        const std::string kind = name.data();
        const auto style = static_cast<unsigned>(GetWindowLongA(child, GWL_STYLE));
        if ((style & WS_VISIBLE) == 0) {
            continue;
        }
        if (kind == "Button") {
            buttons.push_back(child);
        } else if (kind == "Static" && (style & SS_TYPEMASK) == SS_ICON) {
            icon = true;
        } else if (const std::string text = Text(child); !text.empty()) {
            list = list || kind == "Edit";
            texts += (texts.empty() ? "" : " | ") + Readable(text);
        }
    }
    std::sort(buttons.begin(), buttons.end(), [](HWND one, HWND other) {
        RECT left{};
        RECT right{};
        GetWindowRect(one, &left);
        GetWindowRect(other, &right);
        return left.left < right.left;
    });
}

// On the keyboard: the dialog has it when it opens.
void Press(const Key& key) {
    const BYTE alt = VK_MENU;
    keybd_event(key.withAlt ? alt : key.key, 0, 0, 0);
    keybd_event(key.key, 0, 0, 0);
    keybd_event(key.key, 0, KEYEVENTF_KEYUP, 0);
    keybd_event(key.withAlt ? alt : key.key, 0, KEYEVENTF_KEYUP, 0);
}

std::string ButtonName(HWND button) {
    return kButtonNames.at(static_cast<std::size_t>(GetDlgCtrlID(button)));
}

bool IsDefault(HWND button) {
    return (static_cast<unsigned>(GetWindowLongA(button, GWL_STYLE)) & BS_TYPEMASK) ==
           BS_DEFPUSHBUTTON;
}

BOOL CALLBACK CollectOurs(HWND window, LPARAM windows) {
    std::array<char, 32> title{};
    GetWindowTextA(window, title.data(), static_cast<int>(title.size()));
    if (IsWindowVisible(window) != FALSE && std::string(title.data()) == "UnInstaller") {
        reinterpret_cast<std::vector<HWND>*>(windows)->push_back(window);
    }
    return TRUE;
}

class Answerer {
 public:
    void Reset(const Lines& answers) {
        const std::lock_guard lock(mutex_);
        answers_.assign(answers.begin(), answers.end());
        shown_.clear();
    }
    Lines Shown() {
        const std::lock_guard lock(mutex_);
        return shown_;
    }

 private:
    void Watch(const std::stop_token& stop);
    void Look(HWND window);
    void AnswerForm(HWND window, const Parts& parts);
    void AnswerBox(const Parts& parts);
    std::string NextAnswer();

    std::set<HWND> known_;  // windows that have had their turn
    // What follows is guarded; never held while a window is asked for anything.
    std::mutex mutex_;
    std::deque<std::string> answers_;
    Lines shown_;
    std::jthread thread_{[this](const std::stop_token& stop) { Watch(stop); }};
};

void Answerer::Watch(const std::stop_token& stop) {
    for (; !stop.stop_requested(); Sleep(5)) {
        std::vector<HWND> windows;
        EnumWindows(&CollectOurs, reinterpret_cast<LPARAM>(&windows));
        std::erase_if(known_, [](HWND one) { return IsWindow(one) == FALSE; });
        // A box stands in front of the form that was there before it.
        std::for_each(windows.rbegin(), windows.rend(), [this](HWND window) { Look(window); });
    }
}

void Answerer::Look(HWND window) {
    if (known_.contains(window)) {
        return;
    }
    const Parts parts(window);
    // One that is still being made gets another turn.
    if (parts.texts.empty() ||
        (parts.icon && std::none_of(parts.buttons.begin(), parts.buttons.end(), IsDefault))) {
        return;
    }
    known_.insert(window);
    const std::lock_guard lock(mutex_);
    if (parts.icon) {
        AnswerBox(parts);
    } else {
        AnswerForm(window, parts);
    }
}

std::string Answerer::NextAnswer() {
    std::string answer;
    if (!answers_.empty()) {
        answer = answers_.front();
        answers_.pop_front();
    }
    return answer;
}

void Answerer::AnswerForm(HWND window, const Parts& parts) {
    if (!parts.list) {
        shown_.push_back("frmUnInstProc: " + parts.texts);
        return;
    }
    const std::string answer = NextAnswer();
    const bool closes = answer == "close" || answer == "alt+f4";
    shown_.push_back("frmUnInstDone -> " + std::string(closes ? "close" : "click") + ": " +
                     parts.texts);
    const auto* const key = std::find_if(std::begin(kKeys), std::end(kKeys),
                                         [&](const Key& one) { return one.answer == answer; });
    if (key != std::end(kKeys)) {
        Press(*key);
    } else if (closes) {
        PostMessageA(window, WM_SYSCOMMAND, SC_CLOSE, 0);
    } else {
        PostMessageA(parts.buttons.front(), BM_CLICK, 0, 0);
    }
}

void Answerer::AnswerBox(const Parts& parts) {
    const std::string answer = NextAnswer();
    HWND pressed = *std::find_if(parts.buttons.begin(), parts.buttons.end(), IsDefault);
    std::string names;
    for (HWND button : parts.buttons) {
        const std::string name = ButtonName(button);
        names += (names.empty() ? "" : " ") + std::string(IsDefault(button) ? "*" : "") + name;
        pressed = lstrcmpiA(name.c_str(), answer.c_str()) == 0 ? button : pressed;
    }
    shown_.push_back(Box(' ', names, ButtonName(pressed), parts.texts));
    PostMessageA(pressed, BM_CLICK, 0, 0);
}

Answerer& TheAnswerer() {
    static Answerer answerer;
    return answerer;
}

}  // namespace

void AnswerOnScreen(const std::vector<std::string>& answers) {
    TheAnswerer().Reset(answers);
}

std::vector<std::string> ShownOnScreen() {
    return TheAnswerer().Shown();
}

}  // namespace support
