#include "tests/support/windows/answerer.h"

#include <array>
#include <atomic>
#include <deque>
#include <map>
#include <mutex>
#include <set>
#include <thread>

#include "platform/win32.h"
#include "tests/support/flow.h"
#include "tests/support/windows/real.h"

namespace support {
namespace {

constexpr std::array<const char*, 8> kButtonNames{"",      "OK",     "Cancel", "Abort",
                                                  "Retry", "Ignore", "Yes",    "No"};

// Never held while a window is asked for anything.
std::mutex guard;
std::deque<std::string> pending;  // answers
Lines shown;
std::atomic<bool> holding = false;
std::atomic<bool> held = false;

// Asks no thread: one that shows nothing any more would never answer. What an edit control
// holds only the control knows.
std::string Text(HWND window, bool isEdit) {
    std::wstring text(std::size_t{1} << 16, L'\0');
    const auto size = static_cast<int>(text.size());
    auto length = static_cast<DWORD_PTR>(InternalGetWindowText(window, text.data(), size));
    if (isEdit) {
        SendMessageTimeoutW(window, WM_GETTEXT, text.size(), reinterpret_cast<LPARAM>(text.data()),
                            SMTO_ABORTIFHUNG, 10000, &length);
    }
    return ToUtf8(text.substr(0, length));
}

unsigned StyleOf(HWND window) {
    return static_cast<unsigned>(GetWindowLongA(window, GWL_STYLE));
}

// What there is to be seen in a window.
struct Parts {
    explicit Parts(HWND window);
    bool icon = false, list = false;
    HWND standard = nullptr;       // the button that Enter presses
    std::map<LONG, HWND> buttons;  // from left to right
    std::string texts;
};

Parts::Parts(HWND window) {
    for (HWND child = GetWindow(window, GW_CHILD); child != nullptr;
         child = GetWindow(child, GW_HWNDNEXT)) {
        std::array<char, 64> kind{};
        GetClassNameA(child, kind.data(), static_cast<int>(kind.size()));
        const bool isEdit = kind.data() == std::string("Edit");
        RECT place{};
        GetWindowRect(child, &place);
        if ((StyleOf(child) & WS_VISIBLE) == 0) {
            continue;
        }
        if (kind.data() == std::string("Button")) {
            buttons[place.left] = child;
            standard = (StyleOf(child) & BS_TYPEMASK) == BS_DEFPUSHBUTTON ? child : standard;
        } else if (kind.data() == std::string("Static") &&
                   (StyleOf(child) & SS_TYPEMASK) == SS_ICON) {
            icon = true;
        } else if (const std::string text = Text(child, isEdit); !text.empty()) {
            list = list || isEdit;
            texts += (texts.empty() ? "" : " | ") + Readable(text);
        }
    }
}

// Whether what is typed arrives in the window: it comes to the front after it can be seen.
bool HasKeyboard(HWND window) {
    GUITHREADINFO thread{};
    thread.cbSize = sizeof thread;
    return GetForegroundWindow() == window &&
           GetGUIThreadInfo(GetWindowThreadProcessId(window, nullptr), &thread) != FALSE &&
           thread.hwndFocus != nullptr;
}

std::string NextAnswer() {
    std::string answer;
    if (!pending.empty()) {
        answer = pending.front();
        pending.pop_front();
    }
    return answer;
}

void AnswerForm(HWND window, const Parts& parts) {
    if (!parts.list) {
        shown.push_back("frmUnInstProc: " + parts.texts);
        return;
    }
    // On the keyboard: the dialog has it when it opens.
    const std::map<std::string, BYTE> keys{
        {"enter", VK_RETURN}, {"escape", VK_ESCAPE}, {"alt+o", 'O'}, {"alt+f4", VK_F4}};
    const std::string answer = NextAnswer();
    const bool closes = answer == "close" || answer == "alt+f4";
    shown.push_back("frmUnInstDone -> " + std::string(closes ? "close: " : "click: ") +
                    parts.texts);
    if (const auto key = keys.find(answer); key != keys.end()) {
        for (const DWORD flags : {DWORD{0}, DWORD{KEYEVENTF_KEYUP}}) {
            if (answer.starts_with("alt+")) {
                keybd_event(VK_MENU, 0, flags, 0);
            }
            keybd_event(key->second, 0, flags, 0);
        }
    } else if (closes) {
        PostMessageA(window, WM_SYSCOMMAND, SC_CLOSE, 0);
    } else {
        PostMessageA(parts.standard, BM_CLICK, 0, 0);
    }
}

void AnswerBox(const Parts& parts) {
    const std::string answer = NextAnswer();
    HWND pressed = parts.standard;
    const auto nameOf = [](HWND button) {
        return std::string(kButtonNames.at(static_cast<std::size_t>(GetDlgCtrlID(button))));
    };
    std::string names;
    for (const auto& [left, button] : parts.buttons) {
        names += std::string(names.empty() ? "" : " ") + (button == parts.standard ? "*" : "") +
                 nameOf(button);
        pressed = lstrcmpiA(nameOf(button).c_str(), answer.c_str()) == 0 ? button : pressed;
    }
    shown.push_back(Box(' ', names, nameOf(pressed), parts.texts));
    PostMessageA(pressed, BM_CLICK, 0, 0);
}

// The program's windows, all of which are dialogs. A box stands in front of the form that was
// there before it, so the hindmost is the first.
std::deque<HWND> WindowsShown() {
    std::deque<HWND> windows;
    for (HWND one = nullptr;
         (one = FindWindowExA(nullptr, one, "#32770", "UnInstaller")) != nullptr;) {
        if (IsWindowVisible(one) != FALSE) {
            windows.push_front(one);
        }
    }
    return windows;
}

void Watch(const std::stop_token& stop) {
    std::set<HWND> known;  // windows that have had their turn
    for (; !stop.stop_requested(); Sleep(5)) {
        std::erase_if(known, [](HWND one) { return IsWindow(one) == FALSE; });
        for (HWND window : WindowsShown()) {
            if (known.contains(window)) {
                continue;
            }
            const Parts parts(window);
            if (parts.texts.empty() || (parts.icon && parts.standard == nullptr) ||
                (parts.list && !HasKeyboard(window))) {
                continue;  // still being made
            }
            if (holding && (parts.icon || parts.list)) {
                held = true;
                continue;
            }
            known.insert(window);
            const std::lock_guard lock(guard);
            parts.icon ? AnswerBox(parts) : AnswerForm(window, parts);
        }
    }
}

}  // namespace

void AnswerOnScreen(const std::vector<std::string>& answers) {
    static const std::jthread watcher(Watch);
    const std::lock_guard lock(guard);
    pending.assign(answers.begin(), answers.end());
    shown.clear();
}

void HoldQuestions(bool hold) {
    held = false;
    holding = hold;
}

bool IsQuestionHeld() {
    return held;
}

std::vector<std::string> ShownOnScreen() {
    const std::lock_guard lock(guard);
    return shown;
}

}  // namespace support
