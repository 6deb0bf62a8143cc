// A computer with Tessorin on it, as tests/stage describes it, on which the real program runs
// as a real process: stage, change, run, compare. All texts are UTF-8. hosted/ makes it of a
// folder, windows/ of the Windows that the tests run on.
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
    // How a fault names this call, or another occurrence of it; "*" is every one.
    [[nodiscard]] std::string Site(const std::string& which) const {
        return role + " " + function + " " + which + " " + argument;
    }
};

class Fixture {
 public:
    static const bool kHasFaults;  // calls can fail, and are recorded; the hosted fixture only
    // Whether HKEY_CLASSES_ROOT shows the user's classes as well, as Windows has it since
    // 2000. Wine 8 shows the machine's alone.
    static const bool kMergesClasses;
    // Whether the read-only attribute keeps a file from being written, and a folder keeps
    // it. Wine leaves both to Unix, where root may write everything.
    static const bool kKeepsReadOnly;
    static const bool kTellsIcons;  // of message boxes; on a screen they are pictures

    Fixture();
    ~Fixture();
    Fixture(const Fixture&) = delete;
    Fixture& operator=(const Fixture&) = delete;

    // ---- changes, before a run or between two ----
    // Attributes are letters: R, H, S, or "" for none. The folders above are made as well.
    Fixture& File(const std::string& path, const std::string& content,
                  const std::string& attributes = "");
    Fixture& Folder(const std::string& path);
    Fixture& Program(const std::string& path);  // a copy of the program that was built
    Fixture& Remove(const std::string& path);   // a file, or a folder with all it holds
    Fixture& Attributes(const std::string& path, const std::string& attributes);
    Fixture& Link(const std::string& path, const std::string& target);  // hosted only
    Fixture& Key(const std::string& key);
    Fixture& RemoveKey(const std::string& key);
    // value as regedit writes it: "\"text\"", "dword:00000005", "hex:01,02"
    Fixture& Value(const std::string& key, const std::string& name, const std::string& value);

    // A line of machine.ini; replaces the line with the same left side. Windows obeys "temp".
    Fixture& Setting(const std::string& section, const std::string& line) {
        return Set(section, line.substr(0, line.find('=')), line);
    }
    Fixture& NoSetting(const std::string& section, const std::string& left) {
        return Set(section, left, "");
    }
    // "PROCESS FUNCTION OCCURRENCE ARGUMENT=CODE": that call fails with that code.
    Fixture& Fault(const std::string& fault) { return Setting("faults", fault); }
    Fixture& RecordCalls() { return Setting("trace", "calls=1"); }  // for Calls and CallsMade

    // ---- runs ----
    // Starts the program at that path with the argument text and waits until every process
    // that came of it has ended. The answers go to the questions in order; a question
    // without one gets its default.
    Outcome Run(const std::string& program, const std::string& arguments,
                const std::vector<std::string>& answers);
    // The whole hand-over, from the program folder.
    Outcome RunFirst(const std::vector<std::string>& answers);
    // The relaunched copy alone, from the temporary folder, where it is left.
    Outcome RunCopy(const std::vector<std::string>& answers);
    Outcome RunCopy(const std::string& arguments, const std::vector<std::string>& answers);
    // Right before a call of the next run, named as in a fault, this happens while the process
    // stands still. Without faults it happens at the first question.
    Fixture& Meanwhile(const std::string& call, std::function<void()> happens);

    // Enters the computer and opens a file so that others can read it but neither write nor
    // delete it, until it is let go, at the end of the fixture at the latest.
    void HoldOpen(const std::string& path);
    void LetGo() { held_.Close(); }

    // Win32 calls of the test work on this computer from now on. Again after a change of its
    // settings. What the process had open there is closed.
    void Enter();
    // The answers to the next questions, in place of those that are left, and nothing shown
    // yet. Run does this itself.
    void Answer(const std::vector<std::string>& answers);
    [[nodiscard]] std::vector<std::string> Shown() const;  // since then

    // ---- looks ----
    [[nodiscard]] std::string HostFolder() const;  // the hosted fixture's sandbox, else empty
    [[nodiscard]] State Look() const;
    [[nodiscard]] std::string Content(const std::string& path) const;  // a file's bytes
    [[nodiscard]] std::string Clipboard() const;
    // All calls in the order in which they ended, and how often a function was called with
    // that argument.
    [[nodiscard]] std::vector<Call> CallsMade() const;
    [[nodiscard]] unsigned Calls(const std::string& function, const std::string& argument) const;

 private:
    Fixture& Set(const std::string& section, const std::string& left, const std::string& line);
    // Where a path of the computer lies for the test process.
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

// First line of a test that not every host can run.
#define NEEDS(ability, reason)      \
    if (!support::Fixture::ability) \
    GTEST_SKIP() << (reason)
#define NEEDS_FAULTS() NEEDS(kHasFaults, "needs calls that fail when they are told to")
