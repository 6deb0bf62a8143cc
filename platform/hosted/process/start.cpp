// Starting processes. The program starts one thing, a script; the interpreter that runs it is a
// process of its own.
#include <fcntl.h>
#include <spawn.h>
#include <unistd.h>

#include <array>

#include "platform/hosted/files/files.h"
#include "platform/hosted/process/process.h"
#include "platform/hosted/registry/registry.h"

namespace hosted {
namespace {

// Windows promises no order, but one that is the same every time makes runs that can be compared:
// the interpreter waits until nothing of its starter is left, whose end of the pipe the kernel
// closes last of all.
DWORD StartInterpreter(const std::string& script, const fs::path& folder) {
    // A program's own file could not be deleted while it is the interpreter's as well.
    const fs::path interpreter =
        Sandbox::Current().Folder() / ("interpreter." + std::to_string(getpid()));
    std::error_code error;
    fs::copy_file(OwnProgram(), interpreter, fs::copy_options::overwrite_existing, error);
    std::array<int, 2> ends{};
    if (error || pipe2(ends.data(), O_CLOEXEC) != 0) {
        return ERROR_NOT_ENOUGH_MEMORY;
    }
    const Descriptor end(ends[0]);
    return Start({interpreter, script}, folder, end.Get()) < 0 ? ERROR_NOT_ENOUGH_MEMORY
                                                               : ERROR_SUCCESS;
}

DWORD StartScript(const char* path, const char* folder) {
    const Place script = LocateTarget(path);
    const Place place = LocateTarget(folder == nullptr ? "." : folder);  // null: the starter's own
    if (!script.Exists() || !place.Exists() || !place.IsFolder()) {
        return script.Exists() ? ERROR_DIRECTORY : script.code;
    }
    SaveRegistry();  // those who come next read it
    return StartInterpreter(ToUtf8(script.path), place.host);
}

}  // namespace

// An empty word at the end is none.
pid_t Start(std::vector<std::string> words, const fs::path& folder, int inherited) {
    std::vector<char*> arguments;
    arguments.reserve(words.size() + 1);
    for (std::string& word : words) {
        arguments.push_back(word.empty() ? nullptr : word.data());
    }
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    if (!folder.empty()) {
        posix_spawn_file_actions_addchdir_np(&actions, folder.c_str());
    }
    if (inherited >= 0) {
        posix_spawn_file_actions_adddup2(&actions, inherited, kInherited);
    }
    pid_t process = -1;
    const int error =
        posix_spawn(&process, words[0].c_str(), &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    return error == 0 ? process : -1;
}

int RunInterpreter(int count, char** values) {
    Sandbox::Current().SetRole("script");
    std::error_code error;  // whoever removes the sandbox's folder removes this as well
    fs::remove(OwnProgram(), error);
    SetCurrentFolder(CurrentFolder());
    char nothing = 0;
    [[maybe_unused]] const ssize_t end = read(kInherited, &nothing, 1);
    RunScript(FromUtf8(count > 1 ? values[1] : ""));
    Sandbox::Leave();
    return 0;
}

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
