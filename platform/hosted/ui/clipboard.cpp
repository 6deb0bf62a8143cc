// The clipboard, a file of the machine, and the memory that a text travels in.
#include <cstdlib>
#include <fstream>

#include "platform/hosted/ui/ui.h"

namespace hosted {
namespace {

constexpr DWORD kNotOpen = 1418;  // ERROR_CLIPBOARD_NOT_OPEN

fs::path ClipboardFile() {
    return Machine::Current().Folder() / "clipboard.txt";
}

}  // namespace
}  // namespace hosted

using hosted::Call;

// Only windows that are never seen: one to own the clipboard for a moment.
HWND WINAPI CreateWindowExA(DWORD, LPCSTR, LPCSTR, DWORD, int, int, int, int, HWND, void*,
                            HINSTANCE, LPVOID) {
    static char window;
    const Call call("CreateWindowExA");
    return call.Refused() ? nullptr : reinterpret_cast<HWND>(&window);
}

BOOL WINAPI DestroyWindow(HWND /*window*/) {
    const Call call("DestroyWindow");
    return TRUE;
}

BOOL WINAPI OpenClipboard(HWND opener) {
    const Call call("OpenClipboard");
    if (call.Refused()) {
        return FALSE;
    }
    hosted::Ui().clipboard.open = true;
    hosted::Ui().clipboard.opener = opener;
    return TRUE;
}

BOOL WINAPI EmptyClipboard() {
    Call call("EmptyClipboard", "", Call::Changes);
    auto& clipboard = hosted::Ui().clipboard;
    if (call.Refused() || !clipboard.open) {
        return call.Fail(call.Refused() ? call.Code() : hosted::kNotOpen);
    }
    clipboard.owner = clipboard.opener;
    clipboard.memory.reset();
    std::error_code error;
    hosted::fs::remove(hosted::ClipboardFile(), error);
    return TRUE;
}

// Of CF_TEXT only. The memory is the clipboard's afterwards. Opened without a window it has no
// owner even when it was emptied, and takes nothing.
HANDLE WINAPI SetClipboardData(UINT /*format*/, HANDLE data) {
    Call call("SetClipboardData", "", Call::Changes);
    auto& clipboard = hosted::Ui().clipboard;
    if (call.Refused() || !clipboard.open || clipboard.owner == nullptr) {
        call.Fail(call.Refused() ? call.Code() : hosted::kNotOpen);
        return nullptr;
    }
    std::ofstream(hosted::ClipboardFile(), std::ios::binary)
        << hosted::ToUtf8(static_cast<const char*>(data));
    clipboard.memory.reset(data, std::free);
    return data;
}

BOOL WINAPI CloseClipboard() {
    const Call call("CloseClipboard");
    hosted::Ui().clipboard.open = false;
    return TRUE;
}

// Memory never moves here; what the program does wrong with it, the sanitizers find.
HGLOBAL WINAPI GlobalAlloc(UINT /*flags*/, SIZE_T bytes) {
    const Call call("GlobalAlloc");
    return call.Refused() ? nullptr : std::malloc(bytes);  // NOLINT(cppcoreguidelines-no-malloc)
}

LPVOID WINAPI GlobalLock(HGLOBAL memory) {
    const Call call("GlobalLock");
    return call.Refused() ? nullptr : memory;
}

// False with the last error code 0: it is not locked any more.
BOOL WINAPI GlobalUnlock(HGLOBAL /*memory*/) {
    Call call("GlobalUnlock");
    return call.Fail(ERROR_SUCCESS);
}

// Null for success.
HGLOBAL WINAPI GlobalFree(HGLOBAL memory) {
    const Call call("GlobalFree");
    std::free(memory);  // NOLINT(cppcoreguidelines-no-malloc)
    return nullptr;
}
