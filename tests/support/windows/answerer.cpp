#include "tests/support/windows/answerer.h"

#include <algorithm>
#include <array>
#include <cctype>

#include "tests/support/transcript.h"
#include "tests/support/windows/text.h"

namespace support {
namespace {

constexpr std::array<const char*, 8> kButtonNames{"",      "OK",     "Cancel", "Abort",
                                                  "Retry", "Ignore", "Yes",    "No"};

std::string Text(HWND window) {
    std::string text(static_cast<std::size_t>(SendMessageA(window, WM_GETTEXTLENGTH, 0, 0)) + 1,
                     '\0');
    const auto length =
        SendMessageA(window, WM_GETTEXT, text.size(), reinterpret_cast<LPARAM>(text.data()));
    text.resize(static_cast<std::size_t>(length));
    return ToUtf8(text);
}

std::string ClassOf(HWND window) {
    std::array<char, 64> name{};
    GetClassNameA(window, name.data(), static_cast<int>(name.size()));
    return name.data();
}

std::vector<HWND> ChildrenOf(HWND window) {
    std::vector<HWND> children;
    for (HWND child = GetWindow(window, GW_CHILD); child != nullptr;
         child = GetWindow(child, GW_HWNDNEXT)) {
        children.push_back(child);
    }
    return children;
}

// The pixels of an icon: the handle of a shared icon differs from process to process.
std::string Pixels(HICON icon) {
    ICONINFO info{};
    if (icon == nullptr || GetIconInfo(icon, &info) == FALSE) {
        return {};
    }
    BITMAPINFO format{};
    format.bmiHeader.biSize = sizeof format.bmiHeader;
    format.bmiHeader.biWidth = 32;
    format.bmiHeader.biHeight = 32;
    format.bmiHeader.biPlanes = 1;
    format.bmiHeader.biBitCount = 32;
    std::string pixels(std::size_t{32} * 32 * 4, '\0');
    const HDC screen = GetDC(nullptr);
    GetDIBits(screen, info.hbmColor, 0, 32, pixels.data(), &format, DIB_RGB_COLORS);
    ReleaseDC(nullptr, screen);
    DeleteObject(info.hbmColor);
    DeleteObject(info.hbmMask);
    return pixels;
}

// The icon's place in a message box style.
unsigned IconStyle(HWND control) {
    const std::string pixels =
        Pixels(reinterpret_cast<HICON>(SendMessageA(control, STM_GETICON, 0, 0)));
    unsigned style = 0;
    for (const LPCSTR known :
         {LPCSTR(IDI_HAND), LPCSTR(IDI_QUESTION), LPCSTR(IDI_EXCLAMATION), LPCSTR(IDI_ASTERISK)}) {
        style += 0x10;
        if (!pixels.empty() && Pixels(LoadIconA(nullptr, known)) == pixels) {
            return style;
        }
    }
    return 0;
}

unsigned ButtonStyle(const std::vector<int>& ids) {
    switch (ids.front()) {
        case IDABORT:
            return MB_ABORTRETRYIGNORE;
        case IDYES:
            return MB_YESNO;
        case IDCANCEL:
        case IDRETRY:
            return MB_RETRYCANCEL;
        default:
            return MB_OK;
    }
}

}  // namespace

Answerer::Answerer() : thread_([this] { Watch(); }) {}

Answerer::~Answerer() {
    ending_ = true;
    thread_.join();
}

void Answerer::Reset(const std::vector<std::string>& answers) {
    const std::lock_guard lock(mutex_);
    answers_.assign(answers.begin(), answers.end());
    shown_.clear();
    known_.clear();
}

std::vector<std::string> Answerer::Shown() {
    const std::lock_guard lock(mutex_);
    return shown_;
}

BOOL CALLBACK Answerer::Collect(HWND window, LPARAM windows) {
    std::array<char, 32> title{};
    GetWindowTextA(window, title.data(), static_cast<int>(title.size()));
    if (IsWindowVisible(window) != FALSE && std::string(title.data()) == "UnInstaller") {
        reinterpret_cast<std::vector<HWND>*>(windows)->push_back(window);
    }
    return TRUE;
}

void Answerer::Watch() {
    while (!ending_) {
        std::vector<HWND> windows;
        EnumWindows(&Collect, reinterpret_cast<LPARAM>(&windows));
        // Forms first: a box stands in front of the form that was there before it.
        std::stable_partition(windows.begin(), windows.end(),
                              [](HWND window) { return ClassOf(window) != "#32770"; });
        for (const HWND window : windows) {
            Look(window);
        }
        Sleep(5);
    }
}

void Answerer::Look(HWND window) {
    {
        const std::lock_guard lock(mutex_);
        std::erase_if(known_, [](HWND one) { return IsWindow(one) == FALSE; });
        if (!known_.insert(window).second) {
            return;
        }
    }
    if (ClassOf(window) == "#32770") {
        LookAtBox(window);
    } else {
        LookAtForm(window);
    }
}

std::string Answerer::NextAnswer(const std::string& standard) {
    if (answers_.empty()) {
        return standard;
    }
    std::string answer = answers_.front();
    answers_.pop_front();
    return answer;
}

void Answerer::LookAtForm(HWND window) {
    std::string texts;
    HWND list = nullptr;
    HWND button = nullptr;
    for (const HWND child : ChildrenOf(window)) {
        if (ClassOf(child) == "Button") {
            button = child;
            continue;
        }
        list = ClassOf(child) == "Edit" ? child : list;
        texts += (texts.empty() ? "" : " | ") + Readable(Text(child));
    }
    const std::lock_guard lock(mutex_);
    if (list == nullptr) {
        shown_.push_back("frmUnInstProc: " + texts);
        return;
    }
    const std::string answer = NextAnswer("ok");
    shown_.push_back("frmUnInstDone -> " + std::string(answer == "close" ? "close" : "click") +
                     ": " + texts);
    if (answer == "close") {
        PostMessageA(window, WM_SYSCOMMAND, SC_CLOSE, 0);
    } else if (answer == "enter" || answer == "escape") {
        // To the button, which has the focus when the dialog opens.
        const WPARAM key = answer == "enter" ? VK_RETURN : VK_ESCAPE;
        PostMessageA(button, WM_KEYDOWN, key, 0);
        PostMessageA(button, WM_KEYUP, key, 0);
    } else if (answer == "alt+o") {
        PostMessageA(button, WM_SYSCHAR, 'o', 1L << 29);
    } else {
        PostMessageA(button, BM_CLICK, 0, 0);
    }
}

void Answerer::LookAtBox(HWND window) {
    unsigned style = 0;
    std::string text;
    std::vector<int> ids;
    for (const HWND child : ChildrenOf(window)) {
        if (ClassOf(child) == "Button" && IsWindowVisible(child) != FALSE) {
            ids.push_back(GetDlgCtrlID(child));
        } else if (ClassOf(child) == "Static") {
            const auto kind = static_cast<unsigned>(GetWindowLongA(child, GWL_STYLE)) & 31U;
            if (kind == SS_ICON) {
                style |= IconStyle(child);
            } else if (const std::string shown = Text(child); !shown.empty()) {
                text = shown;
            }
        }
    }
    if (ids.empty()) {
        return;
    }
    std::sort(ids.begin(), ids.end());
    const auto standard = static_cast<int>(LOWORD(SendMessageA(window, DM_GETDEFID, 0, 0)));
    style |= ButtonStyle(ids);
    // Retry comes before Cancel, although its number is the higher one.
    const bool swapped = (style & 15U) == MB_RETRYCANCEL;
    const auto place = std::find(ids.begin(), ids.end(), standard) - ids.begin();
    style |= static_cast<unsigned>(swapped ? 1 - place : place) << 8U;

    const std::lock_guard lock(mutex_);
    std::string answer = NextAnswer(kButtonNames.at(static_cast<std::size_t>(standard)));
    int id = standard;
    for (const int one : ids) {
        std::string name = kButtonNames.at(static_cast<std::size_t>(one));
        std::transform(name.begin(), name.end(), name.begin(),
                       [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
        id = name == answer ? one : id;
    }
    shown_.push_back(BoxLine(style, kButtonNames.at(static_cast<std::size_t>(id)), text));
    PostMessageA(window, WM_COMMAND, static_cast<WPARAM>(id),
                 reinterpret_cast<LPARAM>(GetDlgItem(window, id)));
}

}  // namespace support
