// From the program folder to the end: the first run, the script, the copy.
#include "common/modGetErrString.h"
#include "platform/handles.h"
#include "tests/support/flow.h"
#include "tests/support/flow.h"

namespace support {
namespace {

const Lines kShown{Confirmation(), Progress(), FolderNotEmpty(kProgramFolder), ResetQuestion(),
                   Success()};
const std::string kCopy = kTempFolder + "\\UnInstall.exe";
const std::string kScript = kTempFolder + "\\UnInstall.bat";
const std::string kRecord = kTempFolder + "\\UnInstall.pif";

// Moves the product to another folder; the staged settings keep naming the old one.
void InstallInto(Machine& machine, const std::string& folder) {
    machine.Program(folder + "\\UnInstall.exe").File(folder + "\\Tessorin.exe", "x");
}

// A run from another folder: nothing of the shell's settings is the product's then except
// what it removes unconditionally.
void ExpectRemovedFrom(const std::string& folder, const std::string& normalForm) {
    SCOPED_TRACE(folder);
    Machine machine;
    InstallInto(machine, folder);
    const Outcome outcome = machine.Run(folder + "\\UnInstall.exe", "", {"yes", "no"});
    ExpectOutcome(
        outcome, {Confirmation(), Progress(), ResetQuestion("No"), Success()},
        With(Without(Without(CompleteRemoval(), ShellReset()), Lines{"- folder " + kProgramFolder}),
             {"- folder " + normalForm}));
}

TEST(HandOver, RemovesTheProductAndItsOwnTraces) {
    Machine machine;
    ExpectOutcome(machine.RunFirst({}), kShown, CompleteRemoval());
}

TEST(HandOver, ChangesNothingOnNo) {
    Machine machine;
    ExpectOutcome(machine.RunFirst({"no"}), {Confirmation("No")}, {});
}

TEST(HandOver, CarriesEveryKindOfFolderName) {
    for (const std::string& folder : Lines{
             "C:\\Tessorin",
             // Wine's "start" puts one blank between the words again.
             Machine::kObeysSettings ? "C:\\Mein  Programm mit Blanks" : "C:\\Mein Programm",
             "C:\\Programme\\ÄÖÜ äöüß é ñ",
             "C:\\a=b;c,d(e)f!g'h+i~j#k$l@m[n]{o}`p",
             "C:\\" + std::string(100, 'x') + "\\" + std::string(100, 'y'),
         }) {
        ExpectRemovedFrom(folder, folder);
    }
}

// What the four unquoted words cannot carry: the folder stays, and so does all else.
TEST(HandOver, HarmsNothingWhenTheFolderDoesNotArrive) {
    for (const auto& [name, arrives] :
         std::vector<std::pair<std::string, std::string>>{{"C:\\Text & Bild", "C:\\Text "},
                                                          {"C:\\100% Bild", "C:\\100 Bild"},
                                                          {"C:\\Text^Bild", "C:\\TextBild"},
                                                          {"C:\\Euro €", ""}}) {
        SCOPED_TRACE(name);
        Machine machine;
        InstallInto(machine, name);
        const Outcome outcome = machine.Run(name + "\\UnInstall.exe", "", {});
        EXPECT_TRUE(SameChanges({}, outcome.difference));
        ASSERT_EQ(outcome.shown.size(), 2U);
        EXPECT_EQ(outcome.shown[0], Confirmation());
        if (!arrives.empty() && Machine::kObeysSettings) {  // Wine drops the blank at the end
            EXPECT_EQ(outcome.shown[1], UnknownArgument("/u=" + arrives));
        }
    }
}

// Another folder that exists would arrive, or it cannot be told what arrives.
TEST(HandOver, IsRefusedWhenAnotherFolderMightArrive) {
    for (const std::string name : {"C:\\Text&Bild", "C:\\Text & Bild", "C:\\T^ext", "C:\\Text%",
                                   "C:\\Te%%xt%TEMP%", "C:\\%1Bild", "C:\\%~dp0Bild"}) {
        SCOPED_TRACE(name);
        Machine machine;
        machine.Folder("C:\\Text");
        InstallInto(machine, name);
        const Outcome outcome = machine.Run(name + "\\UnInstall.exe", "", {"yes", "no"});
        EXPECT_EQ(outcome.status, 1);
        EXPECT_TRUE(SameChanges({}, outcome.difference));
        ASSERT_EQ(outcome.shown.size(), 2U);
        EXPECT_NE(outcome.shown[1].find("\"UnInstaller:2:0:33:1:2:5\""), std::string::npos)
            << outcome.shown[1];
    }
}

TEST(HandOver, RunsFromADriveRoot) {
    NEEDS_SETTINGS();
    Machine machine;
    machine.Program("D:\\UnInstall.exe").File("D:\\Brief.txt", "x");
    ExpectOutcome(
        machine.Run("D:\\UnInstall.exe", "", {"yes", "no", "no"}),
        {Confirmation(), Progress(), FolderNotEmpty("D:\\", "No"), ResetQuestion("No"),
         Problems({"Das Verzeichnis \"D:\\\" konnte nicht gelöscht werden."})},
        With(Without(Without(CompleteRemoval(), ShellReset()), Lines{"- folder " + kProgramFolder}),
             {"- file D:\\UnInstall.exe"}));
}

TEST(HandOver, WorksThroughATemporaryFolderWithBlanks) {
    Machine machine;
    machine.Setting("folders", "temp=C:\\windows\\Temp von Clara")
        .Folder("C:\\windows\\Temp von Clara");
    ExpectOutcome(machine.RunFirst({}), kShown, CompleteRemoval());
}

TEST(HandOver, NamesTheCopyAlwaysTheSame) {
    Machine machine;
    machine.Remove(kProgramFolder + "\\UnInstall.exe").Program(kProgramFolder + "\\Remove.exe");
    ExpectOutcome(machine.Run(kProgramFolder + "\\Remove.exe", "", {}), kShown, CompleteRemoval());
}

TEST(HandOver, WaitsForTheEditor) {
    NEEDS_SETTINGS();
    Machine machine;
    machine.Setting("faults", "first OpenFile 1 *=32").Setting("faults", "first OpenFile 2 *=5");
    Lines shown = kShown;
    shown.insert(shown.begin() + 1, {InUse("Retry"), InUse("Retry")});
    ExpectOutcome(machine.RunFirst({"yes", "retry"}), shown, CompleteRemoval());
}

TEST(HandOver, StopsAtAnEditorThatIsNotFree) {
    const std::string editor = kProgramFolder + "\\Tessorin.exe";
    const Lines shown{Confirmation(), InUse("Retry"), InUse("Cancel")};
    Machine held;
    held.HoldOpen(editor);
    ExpectOutcome(held.RunFirst({"yes", "retry", "cancel"}), shown, {});
    if (Machine::kKeepsReadOnly) {
        // Hidden, it is still there.
        for (const char* attributes : {"R", "RHS"}) {
            Machine readOnly;
            readOnly.Attributes(editor, attributes);
            ExpectOutcome(readOnly.RunFirst({"yes", "retry", "cancel"}), shown, {});
        }
    }
}

TEST(HandOver, DoesNotWaitForAnEditorThatIsGone) {
    Machine machine;
    machine.Remove(kProgramFolder + "\\Tessorin.exe");
    ExpectOutcome(machine.RunFirst({}), kShown, CompleteRemoval());
}

std::string CopyFailed(const std::string& answer, const std::string& reason) {
    return "[!] *Abort Retry Ignore -> " + answer + ": Beim Kopieren der Datei \"" +
           kProgramFolder + "\\UnInstall.exe\" nach \"" + kCopy +
           "\" ist der folgende Fehler aufgetreten:" + reason;
}

TEST(HandOver, AsksWhatToDoWhenTheCopyFails) {
    NEEDS_SETTINGS();
    const std::string full =
        "\\n\\nEs steht nicht genug Speicherplatz auf dem Datenträger zur Verfügung. (Fehlercode "
        "112)";
    Machine aborted;
    aborted.Setting("faults", "first CopyFileA 1 *=112");
    ExpectOutcome(aborted.RunFirst({"yes", "abort"}), {Confirmation(), CopyFailed("Abort", full)},
                  {});
    Machine retried;
    retried.Setting("faults", "first CopyFileA 1 *=112");
    retried.Setting("faults", "first CopyFileA 2 *=99999");
    Lines shown = kShown;
    shown.insert(shown.begin() + 1,
                 {CopyFailed("Retry", full), CopyFailed("Retry", " (Fehlercode 99999)")});
    ExpectOutcome(retried.RunFirst({"yes", "retry", "retry"}), shown, CompleteRemoval());
    // Ignored, with no older copy there: the script finds nothing to start and tidies up.
    Machine ignored;
    ignored.Setting("faults", "first CopyFileA * *=112");
    Outcome outcome = ignored.RunFirst({"yes", "ignore"});
    EXPECT_EQ(outcome.errors, "start \"" + kCopy + "\": error 2\n");  // the machine's log
    outcome.errors.clear();
    ExpectOutcome(outcome, {Confirmation(), CopyFailed("Ignore", full)}, {});
}

// The script names the temporary folder in the characters of Windows: the interpreter finds
// the copy by its short name, but not the files that it should delete.
TEST(HandOver, LeavesItsFilesInATemporaryFolderWithAnUmlaut) {
    const std::string folder = "C:\\windows\\Müll";
    Machine machine;
    machine.Setting("folders", "temp=" + folder).Folder(folder);
    ExpectOutcome(machine.RunFirst({}), kShown,
                  With(CompleteRemoval(), {"+ file " + folder + "\\UnInstall.bat",
                                           "+ file " + folder + "\\UnInstall.exe",
                                           "+ file " + folder + "\\UnInstall.pif"}));
}

TEST(HandOver, WritesThroughNoLink) {
    NEEDS_SETTINGS();
    Machine machine;
    machine.File("C:\\Brief.txt", "x").Link(kCopy, "C:\\Brief.txt");
    ExpectOutcome(machine.RunFirst({}), kShown, With(CompleteRemoval(), {"- file " + kCopy}));
}

TEST(HandOver, ReplacesWhatEarlierRunsHaveLeft) {
    Machine machine;
    machine.File(kScript, "del \"C:\\*.*\"\r\n" + std::string(5000, 'x'));
    machine.File(kRecord, std::string(5000, 'x')).File(kCopy, "not a program");
    ExpectOutcome(
        machine.RunFirst({}), kShown,
        With(CompleteRemoval(), {"- file " + kScript, "- file " + kRecord, "- file " + kCopy}));
}

TEST(HandOver, IsRefusedWhileTheCopyIsInUse) {
    const auto refused = [](const std::string& program) {
        return Lines{Confirmation(),
                     "[!] *Abort Retry Ignore -> Abort: Beim Kopieren der Datei \"" + program +
                         "\" nach \"" + kCopy + "\" ist der folgende Fehler aufgetreten:" +
                         Readable(ToUtf8(GetErrString(32, true, "Fehlercode")))};
    };
    Machine machine;
    machine.Program(kCopy).Enter();
    ExpectOutcome(machine.Run(kCopy, "", {"yes", "abort"}), refused(kCopy), {});
    // By another uninstaller.
    machine.HoldOpen(kCopy);
    ExpectOutcome(machine.RunFirst({"yes", "abort"}), refused(kProgramFolder + "\\UnInstall.exe"),
                  {});
}

// Nothing says that the first run has ended when the copy begins: as long as it runs, its
// file is in use, and for a moment afterwards somebody may still look at it.
TEST(HandOver, LeavesTheFirstRunTimeToEnd) {
    NEEDS_SETTINGS();
    const std::string file = kProgramFolder + "\\UnInstall.exe";
    Machine machine;
    machine.Setting("trace", "calls=1");
    for (const std::string& refusal : Lines{"1 " + file + "=32", "2 " + file + "=32",
                                            "3 " + file + "=5", "1 " + kProgramFolder + "=32"}) {
        machine.Setting("faults", "copy SHFileOperationA " + refusal);
    }
    ExpectOutcome(machine.RunFirst({}), kShown, CompleteRemoval());
    EXPECT_EQ(machine.Calls("SHFileOperationA", file), 4U);
    EXPECT_EQ(machine.Calls("SHFileOperationA", kProgramFolder), 2U);
}

// Both must be let go right before the start, because the script deletes them.
TEST(HandOver, HoldsItsFilesUntilTheScriptIsToStart) {
    NEEDS_SETTINGS();
    Machine machine;
    machine.StopAt("first CloseHandle 1 " + kCopy).Begin({});
    machine.Start(kProgramFolder + "\\UnInstall.exe", "");
    machine.WaitUntilStopped();
    machine.Enter();
    for (const std::string& path : Lines{kScript, kCopy}) {
        const handles::File writer(CreateFileA(
            path.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
            nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
        EXPECT_EQ(GetLastError(), DWORD{ERROR_SHARING_VIOLATION}) << path;
        EXPECT_FALSE(static_cast<bool>(writer));
        EXPECT_EQ(DeleteFileA(path.c_str()), FALSE);
        EXPECT_EQ(CopyFileA("C:\\windows\\Notepad.exe", path.c_str(), FALSE), FALSE);
    }
    machine.GoOn();
    ExpectOutcome(machine.Finish(), kShown, CompleteRemoval());
}

struct Exchange {
    const char* before;  // the call before which somebody exchanges what it is about
    const std::string& path;
    const char* content;  // null: a link to somebody's letter
    const char* said;
};

TEST(HandOver, IsRefusedWhenSomebodyExchangesAFile) {
    NEEDS_SETTINGS();
    const std::string letter = "C:\\Brief.txt";
    for (const Exchange& exchange : std::vector<Exchange>{
             {"CopyFileA 1 ", kCopy, nullptr, "Beim Kopieren der Datei"},
             {"CreateFileA 1 ", kCopy, "", ":1:2:75\""},
             {"CreateFileA 1 ", kScript, nullptr, ":1:2:58\""},
             {"CreateFileA 2 ", kScript, "del \"C:\\*.*\"", ":1:2:75\""},
             {"CreateFileA 2 ", kScript, "del \"C:\\windows\\Temp\\UnInstall.pif\"", ":1:2:75\""},
             {"CreateFileA 1 ", kRecord, nullptr, ":1:3:58\""},
         }) {
        SCOPED_TRACE(exchange.before + exchange.path);
        Machine machine;
        machine.File(letter, "Inhalt").StopAt("first " + (exchange.before + exchange.path));
        machine.Begin({});
        machine.Start(kProgramFolder + "\\UnInstall.exe", "");
        machine.WaitUntilStopped();
        machine.Remove(exchange.path);
        if (exchange.content == nullptr) {
            machine.Link(exchange.path, letter);
        } else {
            machine.File(exchange.path, exchange.content);
        }
        machine.GoOn();
        Outcome outcome = machine.Finish();
        ASSERT_EQ(outcome.shown.size(), 2U);
        EXPECT_NE(outcome.shown[1].find(exchange.said), std::string::npos) << outcome.shown[1];
        std::erase_if(outcome.difference, [](const std::string& line) {
            return line.starts_with("+ file " + kTempFolder + "\\UnInstall.");
        });
        EXPECT_TRUE(SameChanges({}, outcome.difference));
    }
}

struct Failure {
    const char* fault;
    const char* description;
    const char* place;
    Lines left;  // in the temporary folder
};

TEST(HandOver, ReportsWhereItFailed) {
    NEEDS_SETTINGS();
    const std::string again = "\\n\\t\\n\\t";
    const std::vector<Failure> failures{
        {"first GetShortPathNameA * *=3",
         "GetShortPathName failed for long path \"C:\\windows\\Temp\\\".\\n\\t\\n\\tDas System "
         "kann den angegebenen Pfad nicht finden. (Error code 3)",
         "1:2:5",
         {"+ file " + kScript, "+ file " + kCopy}},
        {"first FindResourceA 1 *=1814", "", "1:3:326", {"+ file " + kScript, "+ file " + kCopy}},
        {"first CreateProcessA * *=2",
         "",
         "1:4:53",
         {"+ file " + kScript, "+ file " + kCopy, "+ file " + kRecord}},
    };
    for (const Failure& failure : failures) {
        SCOPED_TRACE(failure.fault);
        Machine machine;
        machine.Setting("faults", failure.fault);
        const Outcome outcome = machine.RunFirst({"yes", "no"});
        EXPECT_EQ(outcome.status, 1);
        EXPECT_TRUE(SameChanges(With({}, failure.left), outcome.difference));
        ASSERT_EQ(outcome.shown.size(), 2U);
        EXPECT_NE(
            outcome.shown[1].find("\"UnInstaller:2:0:33:" + std::string(failure.place) + "\""),
            std::string::npos)
            << outcome.shown[1];
        if (*failure.description != '\0') {
            EXPECT_EQ(outcome.shown[1],
                      Fatal(FatalMessage(failure.description, failure.place), "No"));
            EXPECT_EQ(machine.Content(kScript), "");
        }
    }
}

}  // namespace
}  // namespace support
