// Folders whose names are unusual: given to the copy, or where the first run works.
#include "main/modMain.h"
#include "platform/ansi.h"
#include "tests/support/flow.h"

namespace support {
namespace {

const Lines kShown{Progress(), FolderNotEmpty(kProgramFolder), ResetQuestion(), Success()};

Lines Handed(const Lines& shown) {
    Lines lines{Confirmation()};
    lines.insert(lines.end(), shown.begin(), shown.end());
    return lines;
}

// The system passes over blanks at the end; the folder that is tested is the one that goes.
TEST(Folders, MayHaveBlanksBehindThem) {
    for (const char* blanks : {" ", "   "}) {
        Machine machine;
        ExpectOutcome(machine.RunCopy(CopyArguments() + blanks, {}), kShown, CompleteRemoval());
    }
}

// "ž" has no place in a path that is given, but a short form may lead to it.
TEST(Folders, MayHaveLettersThatAPathMayNotHave) {
    const std::string folder = "C:\\Programme\\Tessorin auf ž";
    Machine machine;
    machine.Folder(folder).File(folder + "\\Tessorin.exe", "x");
    machine.File(folder + "\\Brief.txt", "x").Enter();
    const std::string ansi = "C:\\Programme\\Tessorin auf \x9E";
    std::string shortForm(MAX_PATH, '\0');
    shortForm.resize(GetShortPathNameA(ansi.c_str(), shortForm.data(), MAX_PATH));
    ASSERT_EQ(shortForm.find('\x9E'), std::string::npos) << shortForm;
    const Outcome outcome = machine.RunCopy("/u=" + shortForm, {"yes", "no"});
    ExpectOutcome(
        outcome, {Progress(), FolderNotEmpty(folder), ResetQuestion("No"), Success()},
        With(Without(Without(CompleteRemoval(), ShellReset()), Lines{"- folder " + kProgramFolder}),
             {"- folder " + folder}));
}

// An older record below such a temporary folder goes like any other. (The script names the
// folder in letters that the interpreter reads as others: its files stay.)
TEST(Folders, AnOlderRecordIsReplacedWhereverItLies) {
    NEEDS_SETTINGS();
    const std::string folder = "C:\\windows\\Temp ž";
    Machine machine;
    machine.Setting("folders", "temp=" + folder).File(folder + "\\UnInstall.pif", "older");
    ExpectOutcome(
        machine.RunFirst({}), Handed(kShown),
        With(CompleteRemoval(),
             {"+ file " + folder + "\\UnInstall.bat", "+ file " + folder + "\\UnInstall.exe",
              "~ file " + folder + "\\UnInstall.pif: 5 bytes -> 967 bytes"}));
}

// The temporary folder's short form stands in the script without quotes.
TEST(Folders, TheTemporaryOneMustBeAWordThatTheInterpreterReadsAlike) {
    const std::string own = "C:\\Programme\\Tessorin";
    for (const char* good : {"C:\\", "C:\\windows\\Temp\\", "\\\\server\\share\\TEMP~1\\"}) {
        EXPECT_FALSE(CheckScriptFolders(good, own)) << good;
    }
    for (const char* bad :
         {"", "Temp\\", "\\Temp\\", "C:Temp\\", "C:\\a b\\", "C:\\a&b\\", "C:\\100%\\", "C:\\a^b\\",
          "C:\\a;b\\", "C:\\M\xFCll\\", "\\\\server\\a share\\", "C:\\\x9E\\"}) {
        const RuntimeError error = CheckScriptFolders(bad, own);
        EXPECT_EQ(error.number, 5) << bad;
        EXPECT_NE(error.description.find(std::string("\"") + bad + "\""), std::string::npos);
    }
}

// Nothing is tried on a drive's root, so nothing is waited for.
TEST(Folders, ADrivesRootIsNamedAtOnce) {
    NEEDS_SETTINGS();
    Machine machine;
    machine.Setting("trace", "calls=1").Link("C:\\Programme\\Textwerk\\alle", "C:\\Programme");
    const Outcome outcome = machine.RunCopy("/u=C:\\", {"yes", "no"});
    EXPECT_TRUE(Same({Progress(), FolderNotEmpty("C:\\"), ResetQuestion("No"),
                      Problems({"Das Verzeichnis \"C:\\\" konnte nicht gelöscht werden."})},
                     outcome.shown));
    EXPECT_EQ(machine.Calls("SHFileOperationA", "C:\\"), 0U);
    EXPECT_LE(machine.Calls("FindFirstFileA", "C:\\*"), 3U);  // expanded, listed, last look
    EXPECT_TRUE(machine.Look().files.contains("C:\\Programme\\Textwerk\\alle"));
}

// A folder that cannot be listed keeps the shell away once, however many there are: the half
// second is for the whole.
TEST(Folders, ThoseThatCannotBeListedCostOneAttempt) {
    NEEDS_SETTINGS();
    Machine machine;
    machine.Setting("trace", "calls=1");
    for (int i = 0; i < 60; ++i) {
        const std::string folder = kProgramFolder + "\\zu " + std::to_string(i);
        machine.File(folder + "\\x", "x");
        machine.Setting("faults", "copy FindFirstFileA * " + folder + "\\*=5");
    }
    ExpectOutcome(machine.RunCopy({}), kShown, CompleteRemoval());
    EXPECT_EQ(machine.Calls("SHFileOperationA", kProgramFolder), 1U);
    EXPECT_EQ(machine.Calls("FindFirstFileA", kProgramFolder + "\\zu 7\\*"), 2U);
    // One wait for each deletion, and the one of the first attempt.
    EXPECT_LE(machine.Calls("Sleep", ""), 10U);
}

}  // namespace
}  // namespace support
