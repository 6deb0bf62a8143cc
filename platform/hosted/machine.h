// The hosted machine: a folder that stands for a whole computer.
//
//   drives/C/...      the files of drive C:, names in UTF-8
//   attributes.txt    read-only, hidden, system attributes ("RHS C:\path" a line)
//   registry.reg      the registry, as regedit exports it (REGEDIT4, here in UTF-8)
//   machine.ini       its folders, its user, its clock and what it refuses (Settings)
//   answers.txt       answers to the next questions, one a line, taken from the top
//   transcript.txt    what was shown and answered
//   calls.txt         the platform calls made, when machine.ini asks for it
//   log.txt           what the machine itself has to say
//   clipboard.txt     the clipboard's text
//
// A program is on the machine whose folder holds its file; a program elsewhere (a test)
// says Machine::Use. Everything here is UTF-8 on disk and Windows-1252 in the program.
#pragma once

#include <chrono>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/hosted/win32.h"

namespace hosted {

namespace fs = std::filesystem;

// ---- text ------------------------------------------------------------------------
// Windows-1252 to UTF-8 and back. Codes without a character (129, 141, 143, 144, 157)
// travel as the control characters of the same number, so every text survives the way
// there and back. A character that Windows-1252 lacks becomes "?".
std::string ToUtf8(std::string_view ansi);
std::string FromUtf8(std::string_view utf8);
// Upper case by the rules of Windows-1252 (umlauts included), byte by byte.
std::string UpperCase(std::string_view ansi);
bool EqualIgnoringCase(std::string_view left, std::string_view right);
// Code page 850 to Windows-1252, byte by byte; what Windows-1252 lacks becomes "?".
std::string FromDos(std::string_view dos);

// ---- what machine.ini says ---------------------------------------------------------
struct Denial {       // [denied]  HKEY_LOCAL_MACHINE\Software\X=set,delete
    std::string key;  // full name, root first
    REGSAM rights = 0;
};
inline constexpr REGSAM kDeleteRight = 0x10000;  // DELETE, among the standard rights
// What happens to a call. A call is named by process, function, occurrence and argument:
//
//     [faults]
//     copy RegDeleteKeyA 1 HKEY_LOCAL_MACHINE\Software\Verlonix\Tessorin=5
//     first CopyFileA * *=112
//
// The argument is the path, the key, "KEY:right" where one is opened, "KEY|name" of a value,
// the first line of a message box; "*" stands for any, as it does for process and function.
// Occurrences are counted among the calls that this line names; "*" is every one.
struct Fault {
    enum class Kind {
        Code,        // a number: it fails with that code
        Less,        // "less": it succeeds with less than was asked for (Call::Less)
        Gone,        // "gone": what the argument names disappears right before
        Stop,        // "stop": the process waits right before until it is let go (Call)
        KillBefore,  // "kill-before", "kill-after": the process is killed
        KillAfter,
    };
    std::string process;      // "first", "script", "copy" or "*"
    std::string function;     // or "*"
    std::string argument;     // UTF-8, or "*"
    unsigned occurrence = 0;  // 1 is the first; 0 is every one
    Kind kind = Kind::Code;
    DWORD code = 0;
};
struct Settings {
    // [folders]  temp, system, windows, common-programs, programs; a folder that is not
    // there is unavailable and its query fails. Windows-1252.
    std::map<std::string, std::string> folders;
    std::string user;        // [user] sid=S-1-5-21-...: HKEY_CURRENT_USER is HKEY_USERS\sid
    bool realClock = false;  // [clock] real=1: Sleep waits; otherwise it moves the clock
    DWORD clockStart = 0;    // [clock] start=4294967200: first tick count of each process
    std::vector<Denial> denied;
    std::vector<Fault> faults;
    bool traceCalls = false;  // [trace] calls=1
};
// A line that a file of the machine should not have.
struct Damage {
    unsigned line;
    std::string what;
};
// The settings in the text of a machine.ini (UTF-8). Throws Damage.
Settings ReadSettings(const std::string& text);

// ---- the machine -------------------------------------------------------------------
class Machine {
 public:
    // The machine of this process. Where there is none, or it cannot be read, says so in
    // one sentence on stderr (with the line number of a damaged file) and ends the
    // process with exit status 2; nothing is written then.
    static Machine& Current();
    // Makes folder the machine of this process from now on and forgets everything about
    // an earlier one. For programs that do not lie on the machine.
    static void Use(const fs::path& folder);
    // In a forked process that goes on without exec: lets go of all that belongs to the
    // parent (every descriptor but the standard ones and the one to keep, which becomes
    // number 3) and starts on the same machine anew.
    static void UseAfterFork(int keep);
    // Forgets the machine of this process, for one that ends without its destructors.
    static void Leave();

    explicit Machine(const fs::path& folder);

    [[nodiscard]] const fs::path& Folder() const { return folder_; }
    [[nodiscard]] const Settings& GetSettings() const { return settings_; }
    // The path of the running program on this machine ("C:\...\UnInstall.exe",
    // Windows-1252), empty for a program that does not lie on it.
    [[nodiscard]] const std::string& ModulePath() const { return module_; }
    // "first" (started without arguments), "copy" (with) or "script": for [faults]. A test
    // that uses a machine is "test".
    [[nodiscard]] const std::string& Role() const { return role_; }
    void SetRole(std::string_view role) { role_ = role; }

    // Appends one line (UTF-8, without its line feed) to a file of the machine folder.
    void AppendLine(std::string_view file, std::string_view line) const;
    // A damaged file: the sentence on stderr, exit status 2. Line 0 stands for the whole.
    [[noreturn]] static void Damaged(const fs::path& file, unsigned line, std::string_view what);
    // What each folder of this layer, which alone knows what is in it, remembers about the
    // machine: made on first use, forgotten with the machine.
    std::shared_ptr<struct FilesState> files;
    std::shared_ptr<struct RegistryState> registry;
    std::shared_ptr<struct ProcessState> process;
    std::shared_ptr<struct UiState> ui;
    // How many calls each fault has met, and how often each call was made.
    std::vector<unsigned> faultsMet;
    std::map<std::string, unsigned> callsMade;
    // The clock: when it was started, and how many milliseconds of a virtual one have passed.
    std::chrono::steady_clock::time_point start = std::chrono::steady_clock::now();
    DWORD passed = 0;

 private:
    fs::path folder_;
    Settings settings_;
    std::string module_;
    std::string role_ = "test";  // until a program of the machine says what it is
};

// The state of a folder of this layer, made on first use.
template <typename State>
State& StateIn(std::shared_ptr<State>& slot) {
    if (slot == nullptr) {
        slot = std::make_shared<State>();
    }
    return *slot;
}

// Whether the program itself is running, not this layer on its behalf: only then is its
// memory counted.
bool InProgram();
class Scope {
 public:
    explicit Scope(bool inProgram);
    ~Scope();
    Scope(const Scope&) = delete;
    Scope& operator=(const Scope&) = delete;

 private:
    bool before_;
};
// While the layer runs code of the program: WinMain, an event of a form.
struct ProgramScope : Scope {
    ProgramScope() : Scope(true) {}
};
// While the layer runs outside of a Call.
struct LayerScope : Scope {
    LayerScope() : Scope(false) {}
};

// Every platform function starts with one of these, named with its argument: in UTF-8 as a
// std::string, in Windows-1252 as it came from the program. It records the call ([trace]) and obeys
// [faults]. A line of calls.txt: process, function, occurrence among the calls of that function
// with that argument, result, "changes" or "looks", argument, with tabs between them.
//
// A process that is to stop writes a line to the named pipe "stopped" of the machine's
// folder and goes on when something comes from the pipe "go"; who stops it makes both. A second
// has passed then.
//
// What is made before it, arguments of its own included, is made in the program's name: it
// counts as the program's memory unless a LayerScope is open.
//
//     Call call("CopyFileA", target, Call::Changes);
//     if (call.Refused()) return FALSE;         // the last error code is set already
//     ...
//     return call.Fail(ERROR_ACCESS_DENIED);    // sets the last error code, gives FALSE
class Call {
 public:
    enum Effect { Looks, Changes };
    explicit Call(const char* function, const char* argument = "", Effect effect = Looks);
    Call(const char* function, std::string argument, Effect effect = Looks);
    ~Call();
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;

    [[nodiscard]] bool Refused() const { return code_ != 0; }
    [[nodiscard]] DWORD Code() const { return code_; }  // the code of a refused call
    // It is to succeed with less: one byte fewer, a buffer that has become too small.
    [[nodiscard]] bool Less() const { return less_; }
    // Records how the call went (0: success) and, unless it is a registry call, leaves a
    // failure as the last error code. Gives TRUE for success.
    BOOL Done(DWORD code);
    BOOL Fail(DWORD code) { return Done(code); }
    // Does the work, which gives a code, unless the call is refused; then as Done.
    template <typename Work>
    BOOL Run(Work work) {
        return Done(Refused() ? code_ : static_cast<DWORD>(work()));
    }
    LSTATUS Result(LSTATUS code);

 private:
    void Begin();
    void Obey(const Fault& fault);

    LayerScope layer_;  // first: what follows is not the program's
    const char* function_;
    std::string argument_;
    Effect effect_;
    bool less_ = false;
    DWORD code_ = 0;
    DWORD result_ = 0;
    bool killAfter_ = false;
};

// ---- what the parts of this layer do for each other ---------------------------------
// Where a path of the machine ("C:\x\y", "C:\PROGRA~1", relative ones against the
// process's current folder) lies on the disk, each component matched without regard to
// case and by short name. Nothing if a component is missing.
std::optional<fs::path> HostPath(std::string_view path);
// The machine path of a place on the disk, empty if it is not on a drive of the machine.
std::string MachinePath(const fs::path& machine, const fs::path& host);
// Lets time pass as Sleep does, but is no call of the program: nobody counts or refuses it.
void Pass(DWORD milliseconds);
// Removes a key with all that is below it, by the full name that the program knows it by.
void RemoveKey(std::string_view fullName);

}  // namespace hosted
