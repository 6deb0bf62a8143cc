// What a process asks about itself, its memory and its end.
#include "platform/hosted/process/process.h"

#include <unistd.h>

#include <cstdlib>

#include "platform/hosted/files/files.h"
#include "platform/hosted/registry/registry.h"

namespace hosted {

void SetArguments(std::string_view arguments) {
    std::string& line = Process().commandLine;
    line = '"' + Sandbox::Current().ModulePath() + '"';
    line.append(arguments.empty() ? "" : " ").append(arguments);
}

}  // namespace hosted

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

// The quoted path of the program, a blank, and the arguments as they were given; the
// blank only where there are some.
LPSTR WINAPI GetCommandLineA() {
    const hosted::Call call("GetCommandLineA");
    return hosted::Process().commandLine.data();
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
