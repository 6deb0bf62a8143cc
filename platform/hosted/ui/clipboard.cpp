// The clipboard, a file of the sandbox, the window that owns it, and the memory that a text
// travels in.
#include <cstdlib>
#include <fstream>

#include "platform/hosted/ui/ui.h"

namespace hosted {
namespace {

constexpr DWORD kNotOpen = 1418;   // ERROR_CLIPBOARD_NOT_OPEN
constexpr DWORD kNoWindow = 1400;  // ERROR_INVALID_WINDOW_HANDLE

fs::path ClipboardFile() {
    return Sandbox::Current().Folder() / "clipboard.txt";
}

}  // namespace
}  // namespace hosted

using hosted::Call;

// Only windows that are never seen.
HWND WINAPI CreateWindowExA(DWORD, LPCSTR kind, LPCSTR, DWORD, int, int, int, int, HWND, void*,
                            HINSTANCE, LPVOID) {
    static std::intptr_t last = 0;
    if (Call("CreateWindowExA", kind).Run() == FALSE) {
        return nullptr;
    }
    const hosted::LayerScope layer;
    return *hosted::Ui().others.insert(reinterpret_cast<HWND>(++last)).first;
}

BOOL WINAPI DestroyWindow(HWND window) {
    Call call("DestroyWindow");
    const bool known = hosted::Ui().others.erase(window) != 0;
    return call.Run([&] { return known ? DWORD{ERROR_SUCCESS} : hosted::kNoWindow; });
}

BOOL WINAPI OpenClipboard(HWND opener) {
    Call call("OpenClipboard");
    if (call.Run() == FALSE) {
        return FALSE;
    }
    hosted::Ui().clipboard.open = true;
    hosted::Ui().clipboard.opener = opener;
    return TRUE;
}

BOOL WINAPI EmptyClipboard() {
    Call call("EmptyClipboard", "", Call::Changes);
    return call.Run([]() -> DWORD {
        auto& clipboard = hosted::Ui().clipboard;
        if (!clipboard.open) {
            return hosted::kNotOpen;
        }
        clipboard.owner = clipboard.opener;
        clipboard.memory.reset();
        std::error_code error;
        hosted::fs::remove(hosted::ClipboardFile(), error);
        return ERROR_SUCCESS;
    });
}

// Of CF_TEXT only. The memory is the clipboard's afterwards. Opened without a window it has no
// owner even when it was emptied, and takes nothing.
HANDLE WINAPI SetClipboardData(UINT /*format*/, HANDLE data) {
    Call call("SetClipboardData", "", Call::Changes);
    const BOOL taken = call.Run([&]() -> DWORD {
        auto& clipboard = hosted::Ui().clipboard;
        if (!clipboard.open || clipboard.owner == nullptr) {
            return hosted::kNotOpen;
        }
        std::ofstream(hosted::ClipboardFile(), std::ios::binary)
            << hosted::ToUtf8(static_cast<const char*>(data));
        clipboard.memory.reset(data, std::free);
        return ERROR_SUCCESS;
    });
    return taken != FALSE ? data : nullptr;
}

BOOL WINAPI CloseClipboard() {
    const Call call("CloseClipboard");
    hosted::Ui().clipboard.open = false;
    return TRUE;
}

// Memory never moves here; what the program does wrong with it, the sanitizers find.
HGLOBAL WINAPI GlobalAlloc(UINT /*flags*/, SIZE_T bytes) {
    // NOLINTNEXTLINE(cppcoreguidelines-no-malloc)
    return Call("GlobalAlloc").Run() != FALSE ? std::malloc(bytes) : nullptr;
}

LPVOID WINAPI GlobalLock(HGLOBAL memory) {
    return Call("GlobalLock").Run() != FALSE ? memory : nullptr;
}

// False, which is no failure: it is not locked any more.
BOOL WINAPI GlobalUnlock(HGLOBAL /*memory*/) {
    const Call call("GlobalUnlock");
    return FALSE;
}

// Null for success.
HGLOBAL WINAPI GlobalFree(HGLOBAL memory) {
    const Call call("GlobalFree");
    std::free(memory);  // NOLINT(cppcoreguidelines-no-malloc)
    return nullptr;
}
