// Folders whose names are unusual: given to the copy, or where the first run works.
#include "main/Script.h"
#include "tests/support/flow.h"

namespace support {
namespace {

// The folder fits; a file in it may not, and the look for it raises in the midst of a step.
TEST(Folders, AreTooLongWhenTheirFilesAre) {
    for (const std::size_t length : {245U, 247U, 259U}) {
        SCOPED_TRACE(length);
        const std::string folder =
            "C:\\" + std::string(120, 'x') + "\\" + std::string(length - 124, 'y');
        Machine machine;
        machine.Folder(folder);
        const Outcome outcome = machine.RunCopy("/u=" + folder, {"no"});
        if (length == 245) {
            ExpectOutcome(outcome, {Progress(), ResetQuestion("No"), Success()},
                          With(TheRest(), {"- folder " + folder}));
            continue;
        }
        ExpectEnd(outcome, "\"UnInstaller:2:0:33:6:1:52\"");
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
    ExpectOutcome(outcome, {Progress(), FolderNotEmpty(folder), ResetQuestion("No"), Success()},
                  With(TheRest(), {"- folder " + folder}));
}

// What cannot be named, or is named only in part, is no folder of ours.
TEST(Folders, MustBeNamedInFull) {
    NEEDS_SETTINGS();
    const std::string other = "C:\\Büro Tessorin";
    Machine machine;
    machine.Folder("C:\\Programme\\Ελλάδα").File(other + "\\Tessorin.exe", "x");
    for (const std::string& arguments : Lines{"/u=C:\\Programme\\~1", CopyArguments()}) {
        SCOPED_TRACE(arguments);
        ExpectEnd(machine.RunCopy(arguments, {}), ":1:4:76\"", {}, 1, 1);
        machine.Setting("faults", "copy FindFirstFileA 1 C:\\Programme=2");
    }
}

// An older record below such a temporary folder goes like any other. (The script names the
// folder in letters that the interpreter reads as others: its files stay.)
TEST(Folders, AnOlderRecordIsReplacedWhereverItLies) {
    NEEDS_SETTINGS();
    const std::string file = "C:\\windows\\Temp ž\\UnInstall.";
    Machine machine;
    machine.Setting("folders", "temp=C:\\windows\\Temp ž").File(file + "pif", "older");
    ExpectOutcome(machine.RunFirst({}), RunShows(),
                  With(CompleteRemoval(), {"+ file " + file + "bat", "+ file " + file + "exe",
                                           "~ file " + file + "pif: 5 bytes -> 967 bytes"}));
}

// The temporary folder's short form stands in the script without quotes.
TEST(Folders, TheTemporaryOneMustBeAWordThatTheInterpreterReadsAlike) {
    const std::string own = "C:\\Programme\\Tessorin";
    for (const char* good : {"C:\\", "C:\\windows\\Temp\\", "\\\\server\\share\\TEMP~1\\"}) {
        EXPECT_FALSE(CheckScriptFolders(good, own).Failed()) << good;
    }
    for (const char* bad :
         {"", "Temp\\", "\\Temp\\", "C:Temp\\", "C:\\a b\\", "C:\\a&b\\", "C:\\100%\\", "C:\\a^b\\",
          "C:\\a;b\\", "C:\\M\xFCll\\", "\\\\server\\a share\\", "C:\\\x9E\\"}) {
        const RuntimeError error = CheckScriptFolders(bad, own);
        EXPECT_EQ(error.number, 5) << bad;
        EXPECT_NE(error.description.find(std::string("\"") + bad + "\""), std::string::npos);
    }
}

// Nobody's program folder goes without the user's consent; and nothing is tried on a drive's
// root, so nothing is waited for.
TEST(Folders, AreTrustedOnlyWithTheUsersConsent) {
    NEEDS_SETTINGS();
    for (const std::string& folder : Lines{"C:\\", "C:\\windows", "C:\\windows\\system32"}) {
        SCOPED_TRACE(folder);
        const std::string answer = folder == "C:\\" ? "Yes" : "No";
        const std::string link = "C:\\Programme\\Textwerk\\alle";
        Machine machine;
        machine.Setting("trace", "calls=1").Link(link, "C:\\Programme");
        ExpectOutcome(machine.RunCopy("/u=" + folder, {answer == "Yes" ? "yes" : "no", "no"}),
                      {Progress(), FolderNotEmpty(folder, answer), ResetQuestion("No"),
                       Problems({NotDeleted("Das Verzeichnis", folder)})},
                      TheRest());
        EXPECT_EQ(machine.Calls("SHFileOperationA", folder), 0U);
        EXPECT_LE(machine.Calls("FindFirstFileA", "C:\\*"), 3U);  // expanded, listed, last look
    }
}

// A folder that cannot be listed keeps the shell away once, however many there are.
TEST(Folders, ThoseThatCannotBeListedCostOneAttempt) {
    NEEDS_SETTINGS();
    Machine machine;
    machine.Setting("trace", "calls=1");
    for (int i = 0; i < 60; ++i) {
        const std::string folder = kProgramFolder + "\\zu " + std::to_string(i);
        machine.File(folder + "\\x", "x");
        machine.Setting("faults", "copy FindFirstFileA * " + folder + "\\*=5");
    }
    ExpectOutcome(machine.RunCopy({}), CopyShows(), CompleteRemoval());
    EXPECT_EQ(machine.Calls("SHFileOperationA", kProgramFolder), 1U);
    EXPECT_EQ(machine.Calls("FindFirstFileA", kProgramFolder + "\\zu 7\\*"), 2U);
    EXPECT_GE(machine.Calls("ProcessMessages", ""), 2 * 60U);  // in each of them
    // One wait for each deletion, and the one of the first attempt.
    EXPECT_LE(machine.Calls("Sleep", ""), 10U);
}

// The half second is for attempts: neither a look for links that takes longer nor a pause behind
// one that has kept the shell away (the third of the run) takes any away.
TEST(Folders, MayTakeLongToLookInto) {
    NEEDS_SETTINGS();
    const std::string folder = kProgramFolder + "\\zu";
    const std::string look = "FindFirstFileA 1 " + kProgramFolder + "\\Hilfe\\*";
    const std::string unlisted = "FindFirstFileA * " + folder + "\\*=5";
    const std::string inUse = "SHFileOperationA 1 " + kProgramFolder + "=32";
    for (const auto& [slow, fault] :
         {std::pair(look, unlisted), {look, inUse}, {std::string("Sleep 3 *"), unlisted}}) {
        SCOPED_TRACE(slow + ", " + fault);
        Machine machine;
        machine.File(folder + "\\x", "x").Setting("faults", "copy " + fault);
        machine.Meanwhile("copy " + slow, [] {});
        ExpectOutcome(machine.RunCopy({}), CopyShows(), CompleteRemoval());
    }
}

}  // namespace
}  // namespace support
