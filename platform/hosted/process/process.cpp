// What a process asks about itself, its memory and its end.
#include "platform/hosted/process/process.h"

#include <unistd.h>

#include <cstdlib>

#include "platform/hosted/files/files.h"
#include "platform/hosted/registry/registry.h"

namespace hosted {

void SetArguments(std::string_view arguments) {
    std::string& line = Process().commandLine;
    line = '"' + Machine::Current().ModulePath() + '"';
    line.append(arguments.empty() ? "" : " ").append(arguments);
}

void EnterProcess() {
    Process().program = Occupy("/proc/self/exe");
    SetCurrentFolder(CurrentFolder());
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
    bool refused = false;
    if (hosted::InProgram()) {
        const hosted::Call call("HeapAlloc");
        refused = call.Refused();
    }
    // NOLINTNEXTLINE(cppcoreguidelines-no-malloc, cppcoreguidelines-owning-memory): libc's heap
    return refused ? nullptr : std::malloc(bytes);
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
    const hosted::Call call("GetModuleFileNameA");
    const std::string& path = hosted::Machine::Current().ModulePath();
    const std::size_t length = call.Refused() ? 0 : path.copy(buffer, size - 1);
    buffer[length] = '\0';
    return static_cast<DWORD>(length);
}

// The interpreter here is this layer's own and reads no variable.
BOOL WINAPI SetEnvironmentVariableA(LPCSTR name, LPCSTR /*value*/) {
    const hosted::Call call("SetEnvironmentVariableA", name);
    return call.Refused() ? FALSE : TRUE;
}
