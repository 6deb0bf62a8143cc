// Starting a script: the one thing that the program starts.
#include <poll.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <csignal>

#include "platform/hosted/files/files.h"
#include "platform/hosted/process/process.h"
#include "platform/hosted/registry/registry.h"

namespace hosted {
namespace {

// The interpreter is a process of its own. It begins when its starter has ended: Windows
// promises no order, but one that is the same every time makes runs that can be compared.
[[noreturn]] void BecomeInterpreter(const std::string& script, const Place& folder, int starter) {
    Machine::UseAfterFork(starter);  // as descriptor 3
    Machine::Current().SetRole("script");
    // The interpreter has no window that could be closed.
    static_cast<void>(std::signal(SIGHUP, SIG_IGN));
    static_cast<void>(std::signal(SIGINT, SIG_IGN));
    std::error_code error;  // a folder that has gone since is nobody's
    fs::current_path(folder.host, error);
    SetCurrentFolder(folder.path);
    pollfd end{3, POLLIN, 0};
    poll(&end, 1, -1);
    RunScript(script);
    Machine::Leave();
    _exit(0);
}

DWORD StartScript(const char* path, const char* folder) {
    const Place script = LocateTarget(path);
    const Place place = LocateTarget(folder == nullptr ? "." : folder);  // null: the starter's own
    if (!script.Exists() || !place.Exists() || !place.IsFolder()) {
        return script.Exists() ? ERROR_DIRECTORY : script.code;
    }
    SaveRegistry();  // those who come next read it
    const Descriptor self(static_cast<int>(syscall(SYS_pidfd_open, getpid(), 0)));
    const pid_t process = self ? fork() : -1;
    if (process == 0) {
        BecomeInterpreter(script.path, place, self.Get());
    }
    return process < 0 ? ERROR_NOT_ENOUGH_MEMORY : ERROR_SUCCESS;
}

}  // namespace
}  // namespace hosted

// Starts a script by the command interpreter; the command line is its path in quotes.
// startup is not looked at: nothing that is started here has a window of its own.
BOOL WINAPI CreateProcessA(LPCSTR application, LPSTR /*commandLine*/, void* /*processSecurity*/,
                           void* /*threadSecurity*/, BOOL /*inheritHandles*/, DWORD /*flags*/,
                           LPVOID /*environment*/, LPCSTR currentDirectory,
                           STARTUPINFOA* /*startup*/, PROCESS_INFORMATION* process) {
    hosted::Call call("CreateProcessA", application, hosted::Call::Changes);
    *process = {};
    if (call.Run([&] { return hosted::StartScript(application, currentDirectory); }) == FALSE) {
        return FALSE;
    }
    process->hProcess = hosted::AddHandle({application, {}, {}});
    process->hThread = hosted::AddHandle({application, {}, {}});
    return TRUE;
}
