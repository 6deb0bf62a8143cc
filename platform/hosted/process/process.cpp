// What a process asks about itself, its memory and its end.
#include <unistd.h>

#include <cstdlib>

#include "platform/hosted/call.h"
#include "platform/hosted/registry/registry.h"

HANDLE WINAPI GetCurrentProcess() {
    return INVALID_HANDLE_VALUE;
}

// Of this process only: ends it at once, with nothing of the program's running any more. The
// registry is written, as Windows keeps what it was told.
BOOL WINAPI TerminateProcess(HANDLE /*process*/, UINT code) {
    { const hosted::Call call("TerminateProcess"); }
    hosted::SaveRegistry();
    _exit(static_cast<int>(code));
}

HANDLE WINAPI GetProcessHeap() {
    return reinterpret_cast<HANDLE>(std::intptr_t{1});
}

// The program's own memory only: what this layer needs for itself is no call of the program.
LPVOID WINAPI HeapAlloc(HANDLE /*heap*/, DWORD /*flags*/, SIZE_T bytes) {
    BOOL given = TRUE;
    if (hosted::InProgram()) {
        given = hosted::Call("HeapAlloc").Run();
    }
    // NOLINTNEXTLINE(cppcoreguidelines-no-malloc, cppcoreguidelines-owning-memory): libc's heap
    return given != FALSE ? std::malloc(bytes) : nullptr;
}

BOOL WINAPI HeapFree(HANDLE /*heap*/, DWORD /*flags*/, LPVOID memory) {
    std::free(memory);  // NOLINT(cppcoreguidelines-no-malloc)
    return TRUE;
}

// The program's buffer has room for every path there is.
DWORD WINAPI GetModuleFileNameA(HMODULE /*module*/, LPSTR buffer, DWORD size) {
    const std::string& path = hosted::Sandbox::Current().ModulePath();
    const bool given = hosted::Call("GetModuleFileNameA").Run() != FALSE;
    const std::size_t length = given ? path.copy(buffer, size - 1) : 0;
    buffer[length] = '\0';
    return static_cast<DWORD>(length);
}

// The interpreter here is this layer's own and reads no variable.
BOOL WINAPI SetEnvironmentVariableA(LPCSTR name, LPCSTR /*value*/) {
    return hosted::Call("SetEnvironmentVariableA", name).Run();
}
