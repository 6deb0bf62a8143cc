// The script while its copy runs, when nobody may change it; and the copy where somebody else
// has something to do with it.
#include <functional>

#include "platform/win32.h"
#include "tests/support/flow.h"

namespace support {
namespace {

const std::string kScript = kTempFolder + "\\UnInstall.bat";
const std::string kCopy = kTempFolder + "\\UnInstall.exe";
const std::string kOwnFile = kProgramFolder + "\\UnInstall.exe";
const Lines kShown{Confirmation(), Progress(), FolderNotEmpty(kProgramFolder), ResetQuestion(),
                   Success()};

DWORD CodeOfOpening(const std::string& path, DWORD access) {
    HANDLE file =
        CreateFileA(path.c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                    nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) {
        return GetLastError();
    }
    CloseHandle(file);
    return ERROR_SUCCESS;
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
    EXPECT_TRUE(SameChanges({}, Difference(before, machine.Look())));
}

// A run that stops at a call, where something happens to the machine.
Outcome RunFirstWith(Machine& machine, const std::string& call,
                     const std::function<void(Machine&)>& meanwhile, const Lines& answers = {}) {
    machine.StopAt(call).Begin(answers);
    machine.Start(kOwnFile, "");
    machine.WaitUntilStopped();
    meanwhile(machine);
    machine.GoOn();
    return machine.Finish();
}

// Lines 3 and 4 run as they were written.
TEST(HeldFiles, TheScriptStaysWhileItsCopyRuns) {
    NEEDS_SETTINGS();
    Machine machine;
    const Outcome outcome =
        RunFirstWith(machine, "copy MessageBoxA 1 *", [](Machine& at) { ExpectHeld(at, kScript); });
    ExpectOutcome(outcome, kShown, CompleteRemoval());
}

// As above, for every host, with a script that nobody runs.
TEST(HeldFiles, TheScriptBesideACopyIsHeldFromItsStart) {
    for (const std::string& arguments : Lines{CopyArguments(), "/u=C:\\fehlt"}) {
        Machine machine;
        machine.Program(kCopy).File(kScript, "del x").StopAt("copy MessageBoxA 1 *").Begin({});
        machine.Start(kCopy, arguments);
        machine.WaitUntilStopped();
        ExpectHeld(machine, kScript);
        machine.GoOn();
        machine.Finish();
        EXPECT_EQ(machine.Content(kScript), "del x");
        EXPECT_EQ(CodeOfOpening(kScript, GENERIC_WRITE), DWORD{ERROR_SUCCESS});
    }
}

// A scanner may look at the new file for as long as it likes: it is a copy all the same. One
// that has been taken away is none.
TEST(HeldFiles, ACopyThatSomebodyElseHoldsIsACopy) {
    NEEDS_SETTINGS();
    for (const std::string& refusal : Lines{"1 " + kCopy + "=32", "* " + kCopy + "=32",
                                            "* " + kCopy + "=5", "* " + kOwnFile + "=32"}) {
        SCOPED_TRACE(refusal);
        Machine machine;
        machine.Setting("faults", "first CreateFileA " + refusal);
        ExpectOutcome(machine.RunFirst({}), kShown, CompleteRemoval());
    }
    Machine gone;
    gone.Setting("faults", "first CreateFileA 1 " + kCopy + "=gone");
    const Outcome outcome = gone.RunFirst({"yes", "no"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_TRUE(SameChanges({"+ file " + kScript}, outcome.difference));
}

// The copy of a read-only file is not read-only, and neither does an older one stay for that.
TEST(HeldFiles, AReadOnlyUninstallerLeavesNothingBehind) {
    if (!Machine::kKeepsReadOnly) {
        GTEST_SKIP() << "needs a system that keeps read-only files";
    }
    Machine machine;
    machine.Attributes(kOwnFile, "R").File(kCopy, "older", "R");
    Lines shown = kShown;
    shown.back() = Problems({"Die Datei \"" + kOwnFile + "\" konnte nicht gelöscht werden."});
    ExpectOutcome(machine.RunFirst({}), shown, With(CompleteRemoval(), {"- file " + kCopy}));
}

}  // namespace
}  // namespace support
