// Processes, as the program sees them.
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "platform/hosted/folders.h"
#include "platform/hosted/handle_table.h"
#include "platform/hosted/paths.h"
#include "platform/hosted/registry/registry.h"
#include "platform/hosted/start.h"

namespace hosted {
namespace {

struct CommandLine {
    std::string text = '"' + Machine::Current().ModulePath() + '"';
};

// A process or its thread. Nothing is asked of it but to be closed.
struct ProcessHandle : HandleObject {};

constexpr std::string_view kBlanks = " \t";

std::string VariableName(std::string_view name) {
    return "UNINSTALL_VARIABLE_" + ToUtf8(UpperCase(name));
}

bool IsProgram(std::string_view path) {
    const Place place = LocateTarget(path);
    return place.Exists() && !place.IsFolder();
}

// The length of the program's name in a command line that begins with it. Without quotes
// the shortest beginning that is a program counts, as the system has it.
std::size_t LengthOfProgram(std::string_view line) {
    std::size_t end = line.find_first_of(kBlanks);
    const std::size_t first = std::min(end, line.size());
    while (end != std::string_view::npos && !IsProgram(line.substr(0, end))) {
        end = line.find_first_of(kBlanks, end + 1);
    }
    const std::size_t found = std::min(end, line.size());
    return IsProgram(line.substr(0, found)) ? found : first;
}

struct Command {
    std::string program, arguments;
};

Command Separate(LPCSTR application, LPCSTR commandLine) {
    const std::string_view line = commandLine == nullptr ? "" : commandLine;
    Command command;
    std::size_t end = 0;
    if (line.starts_with('"')) {
        const std::size_t quote = std::min(line.find('"', 1), line.size());
        command.program = line.substr(1, quote - 1);
        end = std::min(quote + 1, line.size());
    } else if (application != nullptr &&
               EqualIgnoringCase(line.substr(0, std::strlen(application)), application)) {
        end = std::strlen(application);
    } else if (application != nullptr) {
        end = std::min(line.find_first_of(kBlanks), line.size());
    } else {
        end = LengthOfProgram(line);
        command.program = line.substr(0, end);
    }
    if (application != nullptr) {
        command.program = application;
    }
    // The blanks between the two belong to neither; those at the end are part of the text.
    const std::size_t begin = line.find_first_not_of(kBlanks, end);
    command.arguments = begin == std::string_view::npos ? "" : line.substr(begin);
    return command;
}

}  // namespace

void SetArguments(std::string_view arguments) {
    std::string& text = Machine::Current().Part<CommandLine>().text;
    text = CommandLine().text;
    if (!arguments.empty()) {
        text += ' ';
        text += arguments;
    }
}

std::optional<std::string> Variable(std::string_view name) {
    if (const char* value = std::getenv(VariableName(name).c_str()); value != nullptr) {
        return FromUtf8(value);
    }
    const auto& folders = Machine::Current().GetSettings().folders;
    const auto folder = [&](const char* known) -> std::optional<std::string> {
        const auto place = folders.find(known);
        return place == folders.end() ? std::nullopt : std::optional(place->second);
    };
    if (EqualIgnoringCase(name, "TEMP") || EqualIgnoringCase(name, "TMP")) {
        return folder("temp");
    }
    if (EqualIgnoringCase(name, "windir") || EqualIgnoringCase(name, "SystemRoot")) {
        return folder("windows");
    }
    if (EqualIgnoringCase(name, "CD")) {
        return CurrentFolder();
    }
    return std::nullopt;
}

}  // namespace hosted

// Starts a program or, by the command interpreter, a script. Without application its name
// is what the command line begins with. Environment and error mode are inherited; startup
// is not looked at: nothing that is started here has a window of its own.
BOOL WINAPI CreateProcessA(LPCSTR application, LPSTR commandLine, void* /*processSecurity*/,
                           void* /*threadSecurity*/, BOOL /*inheritHandles*/, DWORD /*flags*/,
                           LPVOID /*environment*/, LPCSTR currentDirectory,
                           STARTUPINFOA* /*startup*/, PROCESS_INFORMATION* process) {
    hosted::Call call("CreateProcessA",
                      hosted::ToUtf8(application == nullptr ? commandLine : application),
                      hosted::Call::Changes);
    if (call.Refused()) {
        return FALSE;
    }
    const hosted::Command command = hosted::Separate(application, commandLine);
    int pid = 0;
    const DWORD code =
        hosted::StartProgram(command.program, command.arguments,
                             currentDirectory == nullptr ? "" : currentDirectory, pid);
    if (code != ERROR_SUCCESS) {
        return call.Fail(code);
    }
    auto& handles = hosted::HandleTable::Ours();
    for (HANDLE* const handle : {&process->hProcess, &process->hThread}) {
        auto object = std::make_unique<hosted::ProcessHandle>();
        object->name = hosted::ToUtf8(command.program);
        *handle = handles.Add(std::move(object));
    }
    process->dwProcessId = static_cast<DWORD>(pid);
    process->dwThreadId = static_cast<DWORD>(pid);
    return TRUE;
}

HANDLE WINAPI GetCurrentProcess() {
    return reinterpret_cast<HANDLE>(std::intptr_t{-1});
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
    if (!hosted::InProgram()) {
        return std::malloc(bytes);  // NOLINT(cppcoreguidelines-no-malloc): the heap is libc's
    }
    const hosted::Call call("HeapAlloc");
    return call.Refused() ? nullptr : std::malloc(bytes);  // NOLINT(cppcoreguidelines-no-malloc)
}

BOOL WINAPI HeapFree(HANDLE /*heap*/, DWORD /*flags*/, LPVOID memory) {
    std::free(memory);  // NOLINT(cppcoreguidelines-no-malloc)
    return TRUE;
}

// The quoted path of the program, a blank, and the arguments as they were given; the
// blank only where there are some.
LPSTR WINAPI GetCommandLineA() {
    const hosted::Call call("GetCommandLineA");
    return hosted::Machine::Current().Part<hosted::CommandLine>().text.data();
}

// Too small a buffer receives the beginning of the path; the result is its size then, the
// last error code 122.
DWORD WINAPI GetModuleFileNameA(HMODULE /*module*/, LPSTR buffer, DWORD size) {
    hosted::Call call("GetModuleFileNameA");
    if (call.Refused()) {
        return 0;
    }
    const std::string path = hosted::Machine::Current().ModulePath();
    if (path.empty() || size == 0) {
        call.Fail(path.empty() ? ERROR_FILE_NOT_FOUND : ERROR_INSUFFICIENT_BUFFER);
        return 0;
    }
    const std::size_t length = path.copy(buffer, size - 1);
    buffer[length] = '\0';
    if (length < path.size()) {
        call.Fail(ERROR_INSUFFICIENT_BUFFER);
        return size;
    }
    return static_cast<DWORD>(length);
}

// For this process and those that it starts; a null value removes the variable. Variables
// of the Linux environment are no variables of the machine.
BOOL WINAPI SetEnvironmentVariableA(LPCSTR name, LPCSTR value) {
    hosted::Call call("SetEnvironmentVariableA", name);
    if (call.Refused()) {
        return FALSE;
    }
    const std::string variable = hosted::VariableName(name);
    const int result = value == nullptr
                           ? unsetenv(variable.c_str())
                           : setenv(variable.c_str(), hosted::ToUtf8(value).c_str(), 1);
    return result == 0 ? TRUE : call.Fail(ERROR_INVALID_PARAMETER);
}
