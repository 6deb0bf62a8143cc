// The clipboard, a file of the machine, and the movable memory that texts travel in.
#include <fstream>
#include <map>

#include "platform/hosted/machine.h"
#include "platform/hosted/ui/answers.h"

namespace hosted {
namespace {

constexpr DWORD kClipboardNotOpen = 1418;  // ERROR_CLIPBOARD_NOT_OPEN

struct Memory {
    std::string bytes;
    unsigned locks = 0;
    bool given = false;  // to the clipboard
};

// Handles are numbers that are never used again, so that one that was freed or given away
// is known for what it is.
struct ClipboardState {
    bool open = false;
    HWND opener = nullptr;  // whom EmptyClipboard makes its owner
    HWND owner = nullptr;
    std::uintptr_t handles = 0;
    std::map<HGLOBAL, Memory> memory;
};

ClipboardState& State() {
    return Machine::Current().Part<ClipboardState>();
}

fs::path ClipboardFile() {
    return Machine::Current().Folder() / "clipboard.txt";
}

// The memory of a handle that the program may still use; otherwise null, and a line in the
// log: on a real system this is where memory is destroyed.
Memory* Usable(HGLOBAL handle, Call& call, std::string_view function) {
    const auto found = State().memory.find(handle);
    if (found != State().memory.end() && !found->second.given) {
        return &found->second;
    }
    call.Fail(ERROR_INVALID_HANDLE);
    Note(std::string(function) + " of memory that is " +
         (found == State().memory.end() ? "not there (any more)" : "the clipboard's"));
    return nullptr;
}

bool WriteClipboard(std::string_view text) {
    const fs::path fresh = Machine::Current().Folder() / "clipboard.new";
    std::ofstream(fresh, std::ios::binary) << ToUtf8(text) << std::flush;
    std::error_code error;
    fs::rename(fresh, ClipboardFile(), error);
    return !error;
}

}  // namespace
}  // namespace hosted

using hosted::Call;

BOOL WINAPI OpenClipboard(HWND opener) {
    Call call("OpenClipboard");
    if (call.Refused()) {
        return FALSE;
    }
    if (hosted::State().open) {
        return call.Fail(ERROR_ACCESS_DENIED);
    }
    hosted::State().open = true;
    hosted::State().opener = opener;
    return TRUE;
}

BOOL WINAPI EmptyClipboard() {
    Call call("EmptyClipboard", "", Call::Changes);
    if (call.Refused()) {
        return FALSE;
    }
    if (!hosted::State().open) {
        return call.Fail(hosted::kClipboardNotOpen);
    }
    hosted::State().owner = hosted::State().opener;
    std::erase_if(hosted::State().memory, [](const auto& entry) { return entry.second.given; });
    std::error_code error;
    hosted::fs::remove(hosted::ClipboardFile(), error);
    return error ? call.Fail(ERROR_ACCESS_DENIED) : TRUE;
}

HANDLE WINAPI SetClipboardData(UINT format, HANDLE data) {
    Call call("SetClipboardData", "", Call::Changes);
    if (call.Refused()) {
        return nullptr;
    }
    if (!hosted::State().open || format != CF_TEXT) {
        call.Fail(hosted::State().open ? ERROR_INVALID_PARAMETER : hosted::kClipboardNotOpen);
        return nullptr;
    }
    if (hosted::State().owner == nullptr) {
        call.Fail(hosted::kClipboardNotOpen);  // opened without a window: nobody owns it
        return nullptr;
    }
    hosted::Memory* const memory = hosted::Usable(data, call, "SetClipboardData");
    if (memory == nullptr) {
        return nullptr;
    }
    const std::string_view bytes(memory->bytes);
    if (!hosted::WriteClipboard(bytes.substr(0, bytes.find('\0')))) {
        call.Fail(ERROR_ACCESS_DENIED);
        return nullptr;
    }
    memory->given = true;
    return data;
}

BOOL WINAPI CloseClipboard() {
    Call call("CloseClipboard");
    if (!hosted::State().open) {
        return call.Fail(hosted::kClipboardNotOpen);
    }
    hosted::State().open = false;
    return TRUE;
}

HGLOBAL WINAPI GlobalAlloc(UINT, SIZE_T bytes) {
    const Call call("GlobalAlloc");
    if (call.Refused()) {
        return nullptr;
    }
    auto& state = hosted::State();
    const auto handle = reinterpret_cast<HGLOBAL>(++state.handles * sizeof(void*));
    state.memory[handle].bytes.resize(bytes);
    return handle;
}

LPVOID WINAPI GlobalLock(HGLOBAL handle) {
    Call call("GlobalLock");
    hosted::Memory* const memory =
        call.Refused() ? nullptr : hosted::Usable(handle, call, "GlobalLock");
    if (memory == nullptr) {
        return nullptr;
    }
    ++memory->locks;
    return memory->bytes.data();
}

// Whether it is still locked; false with the last error code 0 when it no longer is.
BOOL WINAPI GlobalUnlock(HGLOBAL handle) {
    Call call("GlobalUnlock");
    hosted::Memory* const memory = hosted::Usable(handle, call, "GlobalUnlock");
    if (memory == nullptr) {
        return FALSE;
    }
    if (memory->locks == 0) {
        return call.Fail(158);  // ERROR_NOT_LOCKED
    }
    return --memory->locks > 0 ? TRUE : call.Fail(ERROR_SUCCESS);
}

// Null for success, the handle itself when it could not be freed.
HGLOBAL WINAPI GlobalFree(HGLOBAL handle) {
    Call call("GlobalFree");
    if (handle == nullptr) {
        return nullptr;
    }
    if (hosted::Usable(handle, call, "GlobalFree") == nullptr) {
        return handle;
    }
    hosted::State().memory.erase(handle);
    return nullptr;
}
