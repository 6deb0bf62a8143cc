// Starting programs and scripts.
#include "platform/hosted/start.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>

#include "platform/hosted/folders.h"
#include "platform/hosted/listing.h"
#include "platform/hosted/paths.h"
#include "platform/hosted/process_table.h"
#include "platform/hosted/registry/registry.h"

namespace hosted {
namespace {

constexpr DWORD kBadProgram = 193;  // ERROR_BAD_EXE_FORMAT

struct Start {
    Place program;
    std::string path;       // of the program, on the machine
    std::string arguments;  // Windows-1252
    std::string folder;     // current folder, on the machine
    bool isScript = false;
};

bool IsScript(std::string_view path) {
    return NameMatches("*.bat", path) || NameMatches("*.cmd", path);
}

DWORD Prepare(std::string_view path, std::string_view folder, Start& start) {
    start.program = LocateTarget(path);
    if (!start.program.Exists()) {
        return start.program.code;
    }
    if (start.program.IsFolder()) {
        return ERROR_ACCESS_DENIED;
    }
    start.path = ParsePath(path).Text();
    start.folder = folder.empty() ? CurrentFolder() : ParsePath(folder).Text();
    const Place place = LocateTarget(start.folder);
    if (!place.Exists() || !place.IsFolder()) {
        return ERROR_DIRECTORY;
    }
    start.isScript = IsScript(start.program.host);
    const bool executable = access(start.program.host.c_str(), X_OK) == 0;
    return start.isScript || executable ? 0 : kBadProgram;
}

void Tell(int pipe, DWORD code) {
    // The parent may have been killed; nobody waits for the answer then.
    static_cast<void>(!write(pipe, &code, sizeof code));
    close(pipe);
}

// Returns when the process that has the other end of the pipe has ended.
void WaitForTheEndOf(int pipe) {
    char nothing = 0;
    while (read(pipe, &nothing, 1) < 0 && errno == EINTR) {
    }
    close(pipe);
}

// A script begins when its starter has ended: Windows promises no order, but one that is the
// same every time makes runs that can be compared.
[[noreturn]] void BecomeScript(const Start& start, int pipe, int starter) {
    Machine& machine = Machine::Current();
    machine.SetRole("script");
    // The interpreter has no window that could be closed.
    static_cast<void>(std::signal(SIGHUP, SIG_IGN));
    static_cast<void>(std::signal(SIGINT, SIG_IGN));
    SetCurrentFolder(start.folder);
    const auto system = machine.GetSettings().folders.find("system");
    const std::string interpreter =
        (system == machine.GetSettings().folders.end() ? "" : system->second + "\\") + "cmd.exe";
    const Place place = LocateTarget(interpreter);
    OwnEntry().Change([&](ProcessRecord& record) {
        record.module = place.Exists() ? IdOf(place.status) : FileId{};
        record.modulePath = interpreter;
    });
    Tell(pipe, 0);
    WaitForTheEndOf(starter);
    RunScript(start.path);
    Machine::Leave();
    _exit(0);
}

[[noreturn]] void BecomeProgram(const Start& start, int pipe) {
    SetCurrentFolder(start.folder);
    OwnEntry().Change([&](ProcessRecord& record) {
        record.module = IdOf(start.program.status);
        record.modulePath = start.path;
    });
    // The new program holds the entry, whatever it is; ours knows to let go of it.
    const int entry = OwnEntry().File();
    fcntl(entry, F_SETFD, 0);
    setenv(kEntryVariable, std::to_string(entry).c_str(), 1);
    static_cast<void>(std::signal(SIGHUP, SIG_DFL));
    static_cast<void>(std::signal(SIGINT, SIG_DFL));
    std::string program = start.program.host;
    std::string arguments = ToUtf8(start.arguments);
    std::array<char*, 3> values{program.data(), arguments.empty() ? nullptr : arguments.data(),
                                nullptr};
    execv(program.c_str(), values.data());
    const bool unknown = errno == ENOEXEC || errno == ENOENT || errno == EACCES;
    Tell(pipe, unknown ? kBadProgram : CodeOfErrno(errno));
    Machine::Leave();
    _exit(1);
}

}  // namespace

DWORD StartProgram(std::string_view path, std::string_view arguments, std::string_view folder,
                   int& pid) {
    Start start;
    start.arguments = arguments;
    if (const DWORD code = Prepare(path, folder, start); code != ERROR_SUCCESS) {
        return code;
    }
    SaveRegistry();  // the new process reads it
    // The new process answers through it, or closes it by becoming the program. By then it
    // stands among the processes: whoever waits for all of them sees no gap.
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) {
        return CodeOfErrno(errno);
    }
    const Descriptor answer(ends[0]);
    Descriptor question(ends[1]);
    // This process keeps one end for as long as it lives.
    std::array<int, 2> life{};
    if (start.isScript && pipe2(life.data(), O_CLOEXEC) != 0) {
        return CodeOfErrno(errno);
    }
    const Descriptor starter(start.isScript ? life[0] : -1);
    pid = fork();
    if (pid < 0) {
        return ERROR_NOT_ENOUGH_MEMORY;
    }
    if (pid == 0) {
        const int pipe = question.Release();
        if (start.isScript) {
            Machine::UseAfterFork({std::min(pipe, starter.Get()), std::max(pipe, starter.Get())});
        } else {
            Machine::UseAfterFork({pipe});
        }
        setenv("UNINSTALL_MACHINE", Machine::Current().Folder().c_str(), 1);
        setenv(kCurrentFolderVariable, ToUtf8(start.folder).c_str(), 1);
        if (start.isScript) {
            BecomeScript(start, pipe, starter.Get());
        }
        BecomeProgram(start, pipe);
    }
    question.Close();
    DWORD code = 0;
    ssize_t size = 0;
    do {
        size = read(answer.Get(), &code, sizeof code);
    } while (size < 0 && errno == EINTR);
    if (size == sizeof code && code != ERROR_SUCCESS) {
        waitpid(pid, nullptr, 0);
    }
    return size == sizeof code ? code : 0;
}

}  // namespace hosted
