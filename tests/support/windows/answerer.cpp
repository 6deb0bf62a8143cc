#include "tests/support/windows/answerer.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdint>
#include <iterator>

#include "tests/support/transcript.h"
#include "tests/support/windows/text.h"

namespace support {
namespace {

constexpr int kIconSize = 32;
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

using Picture = std::vector<std::uint32_t>;  // 32 × 32 pixels

// What a device shows at that place.
Picture PictureAt(HDC device, int left, int top) {
    BITMAPINFO format{};
    format.bmiHeader.biSize = sizeof format.bmiHeader;
    format.bmiHeader.biWidth = kIconSize;
    format.bmiHeader.biHeight = kIconSize;
    format.bmiHeader.biPlanes = 1;
    format.bmiHeader.biBitCount = 32;
    const HDC memory = CreateCompatibleDC(device);
    void* bits = nullptr;
    const HBITMAP bitmap = CreateDIBSection(device, &format, DIB_RGB_COLORS, &bits, nullptr, 0);
    const HGDIOBJ before = SelectObject(memory, bitmap);
    BitBlt(memory, 0, 0, kIconSize, kIconSize, device, left, top, SRCCOPY);
    GdiFlush();
    Picture picture(std::size_t{kIconSize} * kIconSize);
    const auto* pixels = static_cast<const std::uint32_t*>(bits);
    std::transform(pixels, pixels + picture.size(), picture.begin(),
                   [](std::uint32_t pixel) { return pixel & 0xFFFFFFU; });
    SelectObject(memory, before);
    DeleteObject(bitmap);
    DeleteDC(memory);
    return picture;
}

Picture Drawn(HDC screen, LPCSTR icon, int background) {
    const HDC memory = CreateCompatibleDC(screen);
    const HBITMAP bitmap = CreateCompatibleBitmap(screen, kIconSize, kIconSize);
    const HGDIOBJ before = SelectObject(memory, bitmap);
    const RECT all{0, 0, kIconSize, kIconSize};
    FillRect(memory, &all, static_cast<HBRUSH>(GetStockObject(background)));
    DrawIconEx(memory, 0, 0, LoadIconA(nullptr, icon), kIconSize, kIconSize, 0, nullptr, DI_NORMAL);
    Picture picture = PictureAt(memory, 0, 0);
    SelectObject(memory, before);
    DeleteObject(bitmap);
    DeleteDC(memory);
    return picture;
}

// Whether a picture shows one of the system's icons: what of it lets no background through
// must be the same.
bool Shows(const Picture& picture, HDC screen, LPCSTR icon) {
    const Picture black = Drawn(screen, icon, BLACK_BRUSH);
    const Picture white = Drawn(screen, icon, WHITE_BRUSH);
    std::size_t opaque = 0;
    std::size_t same = 0;
    for (std::size_t i = 0; i < picture.size(); ++i) {
        opaque += black[i] == white[i] ? 1U : 0U;
        same += black[i] == white[i] && picture[i] == black[i] ? 1U : 0U;
    }
    return opaque >= 100 && same == opaque;
}

// The icon's place in a message box style, from what is to be seen on the screen: an icon's
// handle and a window's pixels mean nothing in another process. The box may not be painted
// yet.
unsigned IconStyle(HWND control) {
    const HDC screen = GetDC(nullptr);
    unsigned found = 0;
    for (int tries = 0; tries < 100 && found == 0; ++tries) {
        RECT place{};
        GetWindowRect(control, &place);
        if (place.left < 0) {  // a box of one endless word
            SetWindowPos(GetParent(control), nullptr, 0, 0, 0, 0, SWP_NOSIZE | SWP_NOZORDER);
        }
        const Picture shown = PictureAt(screen, place.left, place.top);
        unsigned style = 0;
        for (const LPCSTR icon : {LPCSTR(IDI_HAND), LPCSTR(IDI_QUESTION), LPCSTR(IDI_EXCLAMATION),
                                  LPCSTR(IDI_ASTERISK)}) {
            style += 0x10;
            found = Shows(shown, screen, icon) ? style : found;
        }
        Sleep(found == 0 ? 10 : 0);
    }
    ReleaseDC(nullptr, screen);
    return found;
}

// The button that Enter presses. A message box marks it by its style only.
int DefaultButton(HWND window) {
    for (const HWND child : ChildrenOf(window)) {
        const auto style = static_cast<unsigned>(GetWindowLongA(child, GWL_STYLE)) & BS_TYPEMASK;
        if (ClassOf(child) == "Button" && style == BS_DEFPUSHBUTTON) {
            return GetDlgCtrlID(child);
        }
    }
    return LOWORD(SendMessageA(window, DM_GETDEFID, 0, 0));
}

// On the keyboard: the dialog has it when it opens.
void Press(BYTE key) {
    keybd_event(key, 0, 0, 0);
    keybd_event(key, 0, KEYEVENTF_KEYUP, 0);
}

void PressWithAlt(BYTE key) {
    keybd_event(VK_MENU, 0, 0, 0);
    Press(key);
    keybd_event(VK_MENU, 0, KEYEVENTF_KEYUP, 0);
}

// A window by its controls. One that is still being made may not have them all.
enum class Kind { Unknown, Box, Progress, Problems };

Kind KindOf(HWND window) {
    bool button = false;
    bool icon = false;
    bool text = false;
    for (const HWND child : ChildrenOf(window)) {
        const std::string name = ClassOf(child);
        if (name == "Edit") {
            return Kind::Problems;
        }
        button = button || (name == "Button" && IsWindowVisible(child) != FALSE);
        if (name == "Static") {
            const bool picture = (GetWindowLongA(child, GWL_STYLE) & SS_TYPEMASK) == SS_ICON;
            icon = icon || picture;
            text = text || (!picture && !Text(child).empty());
        }
    }
    if (!text || icon != button) {
        return Kind::Unknown;
    }
    return icon ? Kind::Box : Kind::Progress;
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

// Of several machines the last one that was used has the screen.
std::atomic<Answerer*> Answerer::current_{nullptr};

Answerer::Answerer() {
    current_ = this;
    thread_ = std::thread([this] { Watch(); });
}

Answerer::~Answerer() {
    Answerer* self = this;
    current_.compare_exchange_strong(self, nullptr);
    ending_ = true;
    thread_.join();
}

void Answerer::Reset(const std::vector<std::string>& answers) {
    const std::lock_guard lock(mutex_);
    current_ = this;
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
        if (current_ == this) {
            EnumWindows(&Collect, reinterpret_cast<LPARAM>(&windows));
        }
        // Forms first: a box stands in front of the form that was there before it.
        std::stable_partition(windows.begin(), windows.end(),
                              [](HWND window) { return KindOf(window) != Kind::Box; });
        for (const HWND window : windows) {
            Look(window);
        }
        Sleep(5);
    }
}

void Answerer::Look(HWND window) {
    const Kind kind = KindOf(window);
    {
        const std::lock_guard lock(mutex_);
        std::erase_if(known_, [](HWND one) { return IsWindow(one) == FALSE; });
        if (kind == Kind::Unknown || !known_.insert(window).second) {
            return;
        }
    }
    if (kind == Kind::Box) {
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
    shown_.push_back("frmUnInstDone -> " +
                     std::string(answer == "close" || answer == "alt+f4" ? "close" : "click") +
                     ": " + texts);
    if (answer == "close") {
        PostMessageA(window, WM_SYSCOMMAND, SC_CLOSE, 0);
    } else if (answer == "enter" || answer == "escape") {
        Press(answer == "enter" ? VK_RETURN : VK_ESCAPE);
    } else if (answer == "alt+o") {
        PressWithAlt('O');
    } else if (answer == "alt+f4") {
        PressWithAlt(VK_F4);
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
    std::sort(ids.begin(), ids.end());
    const int standard = DefaultButton(window);
    if (text.empty() || !std::binary_search(ids.begin(), ids.end(), standard)) {
        const std::lock_guard lock(mutex_);
        known_.erase(window);  // not complete yet: it gets another turn
        return;
    }
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
