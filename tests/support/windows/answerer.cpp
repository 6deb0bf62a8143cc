// The part of the fixture that sits in front of the screen: watches for the program's windows
// and message boxes, in whatever process, writes down what they show, and answers them.
#include <functional>
#include <map>
#include <mutex>
#include <thread>

#include "tests/support/flow.h"
#include "tools/sandbox/real.h"

namespace support {
namespace {

const std::map<int, std::string> kButtonNames{
    {IDOK, "OK"},         {IDCANCEL, "Cancel"}, {IDABORT, "Abort"}, {IDRETRY, "Retry"},
    {IDIGNORE, "Ignore"}, {IDYES, "Yes"},       {IDNO, "No"}};
// The completion dialog has the keyboard when it opens.
const std::map<std::string, std::vector<BYTE>> kKeys{{"enter", {VK_RETURN}},
                                                     {"escape", {VK_ESCAPE}},
                                                     {"alt+o", {VK_MENU, 'O'}},
                                                     {"alt+f4", {VK_MENU, VK_F4}}};

// Marks the windows that have had their turn.
constexpr auto kAnswered = "answered";

// Never held while a window is asked for anything.
std::mutex guard;
Lines answers;
std::size_t asked = 0;
Lines shown;
std::function<void()> meanwhile;  // what happens at the next question

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
    return real::Name(text.substr(0, length));
}

bool HasType(HWND window, unsigned type, unsigned mask) {
    return (static_cast<unsigned>(GetWindowLongA(window, GWL_STYLE)) & mask) == type;
}

// Those that can be seen, the foremost first.
std::vector<HWND> WindowsIn(HWND parent, const char* kind, const char* title = nullptr) {
    std::vector<HWND> windows;
    for (HWND one = nullptr; (one = FindWindowExA(parent, one, kind, title)) != nullptr;) {
        if (IsWindowVisible(one) != FALSE) {
            windows.push_back(one);
        }
    }
    return windows;
}

// What there is to be seen in a window.
struct Parts {
    bool isBox = false, isDone = false;  // a box has an icon, the completion dialog a list
    HWND standard = nullptr;             // the button that Enter presses
    std::map<LONG, HWND> buttons;        // from left to right
    std::string texts;

    explicit Parts(HWND window) {
        for (HWND button : WindowsIn(window, "Button")) {
            RECT place{};
            GetWindowRect(button, &place);
            buttons[place.left] = button;
            standard = HasType(button, BS_DEFPUSHBUTTON, BS_TYPEMASK) ? button : standard;
        }
        for (HWND label : WindowsIn(window, "Static")) {
            const bool isIcon = HasType(label, SS_ICON, SS_TYPEMASK);
            isBox = isBox || isIcon;
            texts += isIcon ? "" : Readable(Text(label, false));
        }
        for (HWND list : WindowsIn(window, "Edit")) {
            isDone = true;
            texts += " | " + Readable(Text(list, true));
        }
    }
};

// Whether what is typed arrives in the window: it comes to the front after it can be seen.
bool HasKeyboard(HWND window) {
    GUITHREADINFO thread{};
    thread.cbSize = sizeof thread;
    return GetForegroundWindow() == window &&
           GetGUIThreadInfo(GetWindowThreadProcessId(window, nullptr), &thread) != FALSE &&
           thread.hwndFocus != nullptr;
}

// Presses the button or the keys that the next answer names, else what Enter would press.
void AnswerQuestion(HWND window, const Parts& parts) {
    const std::string answer = asked < answers.size() ? answers[asked++] : "";
    const bool closes = answer == "close" || answer == "alt+f4";
    HWND pressed = parts.standard;
    std::string names;
    for (const auto& [left, button] : parts.buttons) {
        const std::string& name = kButtonNames.at(GetDlgCtrlID(button));
        names += (names.empty() ? "" : " ") + (button == parts.standard ? "*" + name : name);
        pressed = lstrcmpiA(name.c_str(), answer.c_str()) == 0 ? button : pressed;
    }
    shown.push_back(
        parts.isBox
            ? "[ ] " + names + " -> " + kButtonNames.at(GetDlgCtrlID(pressed)) + ": " + parts.texts
            : (closes ? "frmUnInstDone -> close: " : "frmUnInstDone -> click: ") + parts.texts);
    if (const auto keys = kKeys.find(answer); keys != kKeys.end()) {
        for (const DWORD flags : {DWORD{0}, DWORD{KEYEVENTF_KEYUP}}) {
            for (const BYTE key : keys->second) {
                keybd_event(key, 0, flags, 0);
            }
        }
    } else if (closes) {
        PostMessageA(window, WM_SYSCOMMAND, SC_CLOSE, 0);
    } else {
        PostMessageA(pressed, BM_CLICK, 0, 0);
    }
}

// Whether the window has had its turn.
bool Answer(HWND window) {
    const Parts parts(window);
    if (parts.texts.empty() || (parts.isBox && parts.standard == nullptr) ||
        (parts.isDone && !HasKeyboard(window))) {
        return false;  // still being made
    }
    std::unique_lock lock(guard);
    if (!parts.isBox && !parts.isDone) {
        shown.push_back("frmUnInstProc: " + parts.texts);
        return true;
    }
    if (const auto happens = std::exchange(meanwhile, nullptr)) {
        lock.unlock();
        happens();
        lock.lock();
    }
    AnswerQuestion(window, parts);
    return true;
}

void Watch(const std::stop_token& stop) {
    for (; !stop.stop_requested(); Sleep(5)) {
        // The program's windows are dialogs. A box stands in front of the form that was there
        // before it, so the hindmost is the first.
        const std::vector<HWND> windows = WindowsIn(nullptr, "#32770", "UnInstaller");
        for (auto one = windows.rbegin(); one != windows.rend(); ++one) {
            if (GetPropA(*one, kAnswered) == nullptr && Answer(*one)) {
                SetPropA(*one, kAnswered, *one);
            }
        }
    }
}

}  // namespace

void Fixture::Answer(const Lines& next) {
    static const std::jthread watcher(Watch);
    const std::lock_guard lock(guard);
    answers = next;
    asked = 0;
    shown.clear();
}

Lines Fixture::Shown() const {
    const std::lock_guard lock(guard);
    return shown;
}

Fixture& Fixture::Meanwhile(const std::string& /*call*/, std::function<void()> happens) {
    const std::lock_guard lock(guard);
    meanwhile = std::move(happens);
    return *this;
}

bool Fixture::HasHappened() {
    const std::lock_guard lock(guard);
    return !std::exchange(meanwhile, nullptr);
}

}  // namespace support
