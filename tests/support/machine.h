// A staged machine on which the real program runs as a real process: stage, change, run,
// compare. All texts are UTF-8. hosted/ makes it of a folder, windows/ of the Windows that
// the tests run on.
#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/handles.h"
#include "tests/support/state.h"

namespace support {

// What a run did.
struct Outcome {
    int status = -1;                      // exit status of the process that was started
    std::vector<std::string> shown;       // what was shown and answered, see flow.h
    std::vector<std::string> difference;  // see state.h
    std::string errors;                   // what any of the processes wrote to stderr
};

// A platform call that a run has made.
struct Call {
    std::string role, function, argument;
    std::string occurrence;  // 1 is the first of this function with this argument
    std::string result;      // its error code
    bool changes = false;

    [[nodiscard]] std::string Address() const { return role + " " + function + " " + argument; }
    // The left side of a fault in machine.ini.
    [[nodiscard]] std::string Site(const std::string& which) const {
        return role + " " + function + " " + which + " " + argument;
    }
};

class Machine {
 public:
    static const bool kObeysSettings;  // whether Setting has any effect
    // Whether HKEY_CLASSES_ROOT shows the user's classes as well, as Windows has it since
    // 2000. Wine 8 shows the machine's alone.
    static const bool kMergesClasses;
    // Whether the read-only attribute keeps a file from being written, and a folder keeps
    // it. Wine leaves both to Unix, where root may write everything.
    static const bool kKeepsReadOnly;
    static const bool kTellsIcons;  // of message boxes; on a screen they are pictures

    // As tests/stage describes it.
    Machine();
    ~Machine();
    Machine(const Machine&) = delete;
    Machine& operator=(const Machine&) = delete;

    // ---- changes, before a run or between two ----
    // Attributes are letters: R, H, S, or "" for none. The folders above are made as well.
    Machine& File(const std::string& path, const std::string& content,
                  const std::string& attributes = "");
    Machine& Folder(const std::string& path);
    Machine& Program(const std::string& path);  // a copy of the program that was built
    Machine& Remove(const std::string& path);   // a file, or a folder with all it holds
    Machine& Attributes(const std::string& path, const std::string& attributes);
    Machine& Key(const std::string& key);
    Machine& RemoveKey(const std::string& key);
    // value as regedit writes it: "\"text\"", "dword:00000005", "hex:01,02"
    Machine& Value(const std::string& key, const std::string& name, const std::string& value);
    // A line of a section of machine.ini; replaces the line with the same left side. Only
    // the hosted machine obeys it.
    Machine& Setting(const std::string& section, const std::string& line) {
        return Set(section, line.substr(0, line.find('=')), line);
    }
    Machine& NoSetting(const std::string& section, const std::string& left) {
        return Set(section, left, "");
    }
    // A link to a file or folder of the machine.
    Machine& Link(const std::string& path, const std::string& target);

    // ---- runs ----
    // Starts the program at that path with the argument text and waits until every process
    // that came of it has ended. The answers go to the questions in order; a question
    // without one gets its default.
    Outcome Run(const std::string& program, const std::string& arguments,
                const std::vector<std::string>& answers);
    // Right before a call of the next run, named as in [faults] of machine.ini, this happens
    // while the process stands still. Only the hosted machine knows calls; elsewhere it
    // happens at the first question.
    Machine& Meanwhile(const std::string& call, std::function<void()> happens);

    // The whole hand-over, from the program folder.
    Outcome RunFirst(const std::vector<std::string>& answers);
    // The relaunched copy alone, from the temporary folder, where it is left.
    Outcome RunCopy(const std::vector<std::string>& answers);
    Outcome RunCopy(const std::string& arguments, const std::vector<std::string>& answers);

    // Enters the machine and opens a file so that others can read it but neither write nor
    // delete it, until it is let go, at the end of the machine at the latest.
    void HoldOpen(const std::string& path);
    void LetGo() { held_.Close(); }

    // Makes this the machine of the test process: Win32 calls of the test work on it. Again
    // after a change of its settings. What the process had open there is closed.
    void Enter();
    // The answers to the next questions, in place of those that are left, and an empty
    // transcript. Run does this itself.
    void Answer(const std::vector<std::string>& answers);
    [[nodiscard]] std::vector<std::string> Shown() const;  // since then

    // ---- looks ----
    [[nodiscard]] std::string HostFolder() const;  // of the hosted machine, else empty
    [[nodiscard]] State Look() const;
    [[nodiscard]] std::string Content(const std::string& path) const;  // a file's bytes
    [[nodiscard]] std::string Clipboard() const;
    // If [trace] was set: all calls in the order in which they ended, and how often a function
    // was called with that argument.
    [[nodiscard]] std::vector<Call> CallsMade() const;
    [[nodiscard]] unsigned Calls(const std::string& function, const std::string& argument) const;

 private:
    Machine& Set(const std::string& section, const std::string& left, const std::string& line);
    // Where a path of the machine lies for the test process.
    [[nodiscard]] std::filesystem::path Place(const std::string& path) const;

    // Starts the program and waits for all that comes of it: its exit status and what they wrote.
    Outcome Execute(const std::string& program, const std::string& arguments);

    // What Meanwhile has announced and has not happened is forgotten. False if there was some.
    bool HasHappened();

    struct Host;
    std::unique_ptr<Host> host_;
    handles::File held_;
};

// Texts of the program's, which are Windows-1252.
std::string ToUtf8(std::string_view ansi);
std::string FromUtf8(std::string_view utf8);
// The uninstaller that was built.
std::filesystem::path BuiltProgram();

}  // namespace support

// First line of a test that some machines cannot run.
#define NEEDS(ability, reason)      \
    if (!support::Machine::ability) \
    GTEST_SKIP() << (reason)
#define NEEDS_SETTINGS() NEEDS(kObeysSettings, "needs a machine that does what it is told")
