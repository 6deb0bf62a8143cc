// The files of the hand-over while somebody else has something to do with them: what is held
// nobody may change, what others hold must not harm.
#include "platform/win32.h"
#include "tests/support/flow.h"

namespace support {
namespace {

bool IsHandOver(const std::string& line) {
    return line.starts_with("+ file " + kTempFolder + "\\UnInstall.");
}

DWORD CodeOfOpening(const std::string& path, DWORD access) {
    const handles::File file(CreateFileA(path.c_str(), access,
                                         FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                         nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    return file ? DWORD{ERROR_SUCCESS} : GetLastError();
}

// The file can be read, and neither written nor deleted nor replaced.
void ExpectHeld(Machine& machine, const std::string& path) {
    machine.Enter();
    const State before = machine.Look();
    const DWORD held = ERROR_SHARING_VIOLATION;
    EXPECT_EQ(CodeOfOpening(path, GENERIC_READ), DWORD{ERROR_SUCCESS}) << path;
    EXPECT_EQ(CodeOfOpening(path, GENERIC_WRITE), held) << path;
    EXPECT_EQ(DeleteFileA(path.c_str()), FALSE);
    EXPECT_EQ(GetLastError(), held) << path;
    EXPECT_EQ(CopyFileA((kTempFolder + "\\~DF3A1.tmp").c_str(), path.c_str(), FALSE), FALSE);
    ExpectChanges({}, Difference(before, machine.Look()));
}

// Script and copy until the script is started, which deletes them; then the script alone, so
// that its last lines run as they were written.
TEST(HeldFiles, StayAsTheyWereWritten) {
    NEEDS_SETTINGS();
    for (const std::string& call :
         Lines{"first CloseHandle 1 " + kCopy, "copy MessageBoxA 1 *", "copy MessageBoxA 3 *"}) {
        SCOPED_TRACE(call);
        Machine machine;
        machine.Meanwhile(call, [&] {
            ExpectHeld(machine, kScript);
            if (call.starts_with("first")) {
                ExpectHeld(machine, kCopy);
            }
        });
        ExpectOutcome(machine.RunFirst({}), RunShows(), CompleteRemoval());
    }
}

// For every host, with a script that nobody runs.
TEST(HeldFiles, TheScriptBesideACopyIsHeldFromItsStart) {
    for (const std::string& arguments : Lines{CopyArguments(), "/u=C:\\fehlt"}) {
        Machine machine;
        machine.File(kScript, "del x");
        machine.Meanwhile("copy MessageBoxA 1 *", [&] { ExpectHeld(machine, kScript); });
        const bool removes = arguments == CopyArguments();
        ExpectOutcome(machine.RunCopy(arguments, {}),
                      removes ? CopyShows() : Lines{UnknownArgument(arguments)},
                      removes ? CompleteRemoval() : Lines{});
        EXPECT_EQ(machine.Content(kScript), "del x");
        EXPECT_EQ(CodeOfOpening(kScript, GENERIC_WRITE), DWORD{ERROR_SUCCESS});
    }
}

// A scanner that looks at the script when the copy starts is waited for.
TEST(HeldFiles, AScriptThatIsLookedAtIsHeldAllTheSame) {
    NEEDS_SETTINGS();
    Machine machine;
    machine.Setting("faults", "copy CreateFileA 1 " + kScript + "=32");
    machine.Meanwhile("copy MessageBoxA 1 *", [&] { ExpectHeld(machine, kScript); });
    ExpectOutcome(machine.RunFirst({}), RunShows(), CompleteRemoval());
}

// A scanner may look at the new file for as long as it likes: it is a copy all the same. One
// that has been taken away is none.
TEST(HeldFiles, ACopyThatSomebodyElseHoldsIsACopy) {
    NEEDS_SETTINGS();
    for (const std::string& refusal : {"1 " + kCopy + "=32", "* " + kCopy + "=32",
                                       "* " + kCopy + "=5", "* " + kOwnFile + "=32"}) {
        SCOPED_TRACE(refusal);
        Machine machine;
        machine.Setting("faults", "first CreateFileA " + refusal);
        ExpectOutcome(machine.RunFirst({}), RunShows(), CompleteRemoval());
    }
    // A script that is looked at is waited for.
    Machine looked;
    for (const char* occurrence : {"2", "3", "4"}) {
        looked.Setting("faults",
                       std::string("first CreateFileA ") + occurrence + " " + kScript + "=32");
    }
    ExpectOutcome(looked.RunFirst({}), RunShows(), CompleteRemoval());
    Machine gone;
    gone.Setting("faults", "first CreateFileA 1 " + kCopy + "=gone");
    ExpectEnd(gone.RunFirst({"yes", "no"}), "UnInstaller:2:0:33:", {"+ file " + kScript});
}

// The copy of a read-only file is not read-only, and neither does an older one stay for that.
TEST(HeldFiles, AReadOnlyUninstallerLeavesNothingBehind) {
    NEEDS(kKeepsReadOnly, "needs a system that keeps read-only files");
    Machine machine;
    machine.Attributes(kOwnFile, "R").File(kCopy, "older", "R");
    ExpectOutcome(machine.RunFirst({}), RunShows({NotDeleted("Die Datei", kOwnFile)}),
                  With(CompleteRemoval(), {"- file " + kCopy}));
}

TEST(HeldFiles, AnOlderOneThatCannotGoEndsTheRun) {
    for (const std::string& path : {kScript, kRecord}) {
        Machine machine;
        machine.File(path, "older").HoldOpen(path);
        Outcome outcome = machine.RunFirst({"yes", "no"});
        std::erase_if(outcome.difference, IsHandOver);
        ExpectEnd(outcome, "(Fehlercode 32)");
    }
}

struct Exchange {
    const char* before;  // the call before which somebody exchanges what it is about
    const std::string& path;
    const char* content;  // null: a link to somebody's letter; "~": as long as before
    const char* said;
    int status = 1;
};

TEST(HeldFiles, AnExchangedOneEndsTheRun) {
    NEEDS_SETTINGS();
    const std::string letter = "C:\\Brief.txt";
    for (const Exchange& exchange : std::vector<Exchange>{
             {"CopyFileA 1 ", kCopy, nullptr, "Beim Kopieren der Datei", 0},
             {"CreateFileA 1 ", kCopy, "", ":1:2:75\""},
             {"CreateFileA 1 ", kCopy, "~", ":1:2:75\""},
             {"CreateFileA 2 ", kScript, "~", ":1:2:75\""},
             {"CreateFileA 1 ", kScript, nullptr, ":1:2:58\""},
             {"CreateFileA 2 ", kScript, "del \"C:\\*.*\"", ":1:2:75\""},
             {"CreateFileA 2 ", kScript, "del \"C:\\windows\\Temp\\UnInstall.pif\"", ":1:2:75\""},
             {"CreateFileA 1 ", kRecord, nullptr, ":1:3:58\""},
         }) {
        SCOPED_TRACE(exchange.before + exchange.path);
        Machine machine;
        machine.File(letter, "Inhalt");
        machine.Meanwhile("first " + (exchange.before + exchange.path), [&] {
            std::string content = machine.Content(exchange.path);
            machine.Remove(exchange.path);
            if (exchange.content == nullptr) {
                machine.Link(exchange.path, letter);
            } else if (exchange.content == std::string("~")) {
                content.back() ^= 1;
                machine.File(exchange.path, content);
            } else {
                machine.File(exchange.path, exchange.content);
            }
        });
        Outcome outcome = machine.RunFirst({});
        std::erase_if(outcome.difference, IsHandOver);
        ExpectEnd(outcome, exchange.said, {}, exchange.status);
    }
}

}  // namespace
}  // namespace support
