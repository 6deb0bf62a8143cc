// From the program folder to the end: the first run, the script, the copy.
#include "common/modGetErrString.h"
#include "tests/support/flow.h"

namespace support {
namespace {

// A whole run in which more is shown before the progress window.
Lines ShownWith(const Lines& more) {
    Lines shown = RunShows();
    shown.insert(shown.begin() + 1, more.begin(), more.end());
    return shown;
}

// The product in another folder; the staged settings keep naming the old one.
Outcome RunFrom(Machine& machine, const std::string& folder, const Lines& answers) {
    machine.Program(folder + "\\UnInstall.exe").File(folder + "\\Tessorin.exe", "x");
    return machine.Run(folder + "\\UnInstall.exe", "", answers);
}

TEST(HandOver, RemovesTheProductAndItsOwnTraces) {
    Machine machine;
    ExpectOutcome(machine.RunFirst({"no"}), {Confirmation("No")}, {});
    // Whatever earlier runs have left.
    machine.File(kScript, "del \"C:\\*.*\"\r\n" + std::string(5000, 'x'));
    machine.File(kRecord, std::string(5000, 'x')).File(kCopy, "not a program");
    ExpectOutcome(
        machine.RunFirst({}), RunShows(),
        With(CompleteRemoval(), {"- file " + kScript, "- file " + kRecord, "- file " + kCopy}));
}

TEST(HandOver, CarriesEveryKindOfFolderName) {
    for (const std::string& folder : Lines{
             "C:\\Tessorin",
             // Wine's "start" puts one blank between the words again.
             Machine::kObeysSettings ? "C:\\Mein  Programm mit Blanks" : "C:\\Mein Programm",
             "C:\\Programme\\ÄÖÜ äöüß é ñ",
             "C:\\a=b;c,d(e)f!g'h+i~j#k$l@m[n]{o}`p",
             "C:\\" +
                 std::string(112, 'z'),  // the editor's path is the first too long for OpenFile
             "C:\\" + std::string(100, 'x') + "\\" + std::string(100, 'y'),
         }) {
        SCOPED_TRACE(folder);
        Machine machine;
        ExpectOutcome(RunFrom(machine, folder, {"yes", "no"}),
                      {Confirmation(), Progress(), ResetQuestion("No"), Success()},
                      With(TheRest(), {"- folder " + folder}));
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
        const Outcome outcome = RunFrom(machine, name, {});
        ExpectChanges({}, outcome.difference);
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
        ExpectEnd(RunFrom(machine, name, {"yes", "no"}), "\"UnInstaller:2:0:33:1:2:5\"");
    }
}

TEST(HandOver, RunsFromADriveRoot) {
    NEEDS_SETTINGS();
    Machine machine;
    machine.Program("D:\\UnInstall.exe").File("D:\\Brief.txt", "x");
    ExpectOutcome(machine.Run("D:\\UnInstall.exe", "", {"yes", "no", "no"}),
                  {Confirmation(), Progress(), FolderNotEmpty("D:\\", "No"), ResetQuestion("No"),
                   Problems({NotDeleted("Das Verzeichnis", "D:\\")})},
                  With(TheRest(), {"- file D:\\UnInstall.exe"}));
}

// The script names the temporary folder in the characters of Windows: the interpreter finds
// the copy by its short name, but not the files that it should delete.
TEST(HandOver, WorksThroughOtherTemporaryFolders) {
    for (const std::string& folder :
         Lines{"C:\\Temp von Clara", "C:\\Temp von %windir%", "C:\\Müll"}) {
        SCOPED_TRACE(folder);
        const std::string file = "+ file " + folder + "\\UnInstall.";
        const Lines left{file + "bat", file + "exe", file + "pif"};
        Machine machine;
        machine.Setting("folders", "temp=" + folder).Folder(folder);
        ExpectOutcome(machine.RunFirst({}), RunShows(),
                      With(CompleteRemoval(), folder == "C:\\Müll" ? left : Lines{}));
    }
}

TEST(HandOver, NamesTheCopyAlwaysTheSame) {
    Machine machine;
    machine.Remove(kOwnFile).Program(kProgramFolder + "\\Remove.exe");
    ExpectOutcome(machine.Run(kProgramFolder + "\\Remove.exe", "", {}), RunShows(),
                  CompleteRemoval());
}

// Who cannot be asked what to do about a failed copy is told that the run ends.
TEST(HandOver, ReportsAQuestionThatCannotBeShown) {
    NEEDS_SETTINGS();
    Machine machine;
    machine.Setting("faults", "first CopyFileA * *=112");
    machine.Setting("faults", "first MessageBoxA 2 *=8");
    ExpectEnd(machine.RunFirst({}), "UnInstaller:2:0:33:");
}

TEST(HandOver, StopsAtAnEditorThatIsNotFree) {
    const Lines answers{"yes", "retry", "cancel"};
    const Lines shown{Confirmation(), InUse("Retry"), InUse("Cancel")};
    Machine machine;
    machine.HoldOpen(kEditor);
    ExpectOutcome(machine.RunFirst(answers), shown, {});
    machine.LetGo();
    if (Machine::kKeepsReadOnly) {
        // Hidden, it is still there.
        for (const char* attributes : {"R", "RHS"}) {
            machine.Attributes(kEditor, attributes);
            ExpectOutcome(machine.RunFirst(answers), shown, {});
        }
    }
    machine.Remove(kEditor);
    ExpectOutcome(machine.RunFirst({}), RunShows(), CompleteRemoval());
}

TEST(HandOver, WaitsForTheEditor) {
    NEEDS_SETTINGS();
    Machine machine;
    machine.Setting("faults", "first OpenFile 1 *=32").Setting("faults", "first OpenFile 2 *=5");
    ExpectOutcome(machine.RunFirst({"yes", "retry"}), ShownWith({InUse("Retry"), InUse("Retry")}),
                  CompleteRemoval());
}

std::string CopyFailed(const std::string& answer, const std::string& reason,
                       const std::string& source = kOwnFile) {
    return Text("copy failed", {answer, source, kCopy, reason});
}

TEST(HandOver, AsksWhatToDoWhenTheCopyFails) {
    NEEDS_SETTINGS();
    const std::string full =
        "\\n\\nEs steht nicht genug Speicherplatz auf dem Datenträger zur Verfügung. (Fehlercode "
        "112)";
    Machine retried;
    retried.Setting("faults", "first CopyFileA 1 *=112");
    ExpectOutcome(retried.RunFirst({"yes", "abort"}), {Confirmation(), CopyFailed("Abort", full)},
                  {});
    retried.Setting("faults", "first CopyFileA 2 *=99999");
    ExpectOutcome(
        retried.RunFirst({"yes", "retry", "retry"}),
        ShownWith({CopyFailed("Retry", full), CopyFailed("Retry", " (Fehlercode 99999)")}),
        CompleteRemoval());
    // Ignored, with no older copy there: the script finds nothing to start and tidies up.
    Machine ignored;
    ignored.Setting("faults", "first CopyFileA * *=112");
    Outcome outcome = ignored.RunFirst({"yes", "ignore"});
    EXPECT_EQ(outcome.errors, "start \"" + kCopy + "\": error 2\n");  // the machine's log
    outcome.errors.clear();
    ExpectOutcome(outcome, {Confirmation(), CopyFailed("Ignore", full)}, {});
}

TEST(HandOver, IsRefusedWhileTheCopyIsInUse) {
    Machine machine;
    machine.Program(kCopy).Enter();
    const std::string inUse = Readable(ToUtf8(GetErrString(32, ShowCode::Yes, "Fehlercode")));
    ExpectOutcome(machine.Run(kCopy, "", {"yes", "abort"}),
                  {Confirmation(), CopyFailed("Abort", inUse, kCopy)}, {});
    machine.HoldOpen(kCopy);  // as another uninstaller does
    ExpectOutcome(machine.RunFirst({"yes", "abort"}), {Confirmation(), CopyFailed("Abort", inUse)},
                  {});
}

TEST(HandOver, WritesThroughNoLink) {
    NEEDS_SETTINGS();
    Machine machine;
    machine.File("C:\\Brief.txt", "x").Link(kCopy, "C:\\Brief.txt");
    ExpectOutcome(machine.RunFirst({}), RunShows(), With(CompleteRemoval(), {"- file " + kCopy}));
    // Nor through one that cannot go.
    Machine kept;
    kept.File("C:\\Brief.txt", "x").Link(kCopy, "C:\\Brief.txt");
    kept.Setting("faults", "first DeleteFileA * " + kCopy + "=5");
    ExpectOutcome(kept.RunFirst({"yes", "abort"}),
                  {Confirmation(), CopyFailed("Abort", "\\n\\nZugriff verweigert (Fehlercode 5)")},
                  {});
}

// Whatever a variable says, and wherever a process is started: the interpreter is the system's,
// and nobody stands in the folder that is to be removed.
TEST(HandOver, StartsTheSystemsInterpreter) {
    Machine machine;
    machine.Enter();
    SetEnvironmentVariableA("ComSpec", "C:\\nirgends\\cmd.exe");
    machine.Setting("trace", "calls=1");
    ExpectOutcome(machine.RunFirst({}), RunShows(), CompleteRemoval());
    if (Machine::kObeysSettings) {
        EXPECT_EQ(machine.Calls("SetEnvironmentVariableA", "ComSpec"), 1U);
        EXPECT_EQ(machine.Calls("SetCurrentDirectoryA", "C:\\windows\\system32\\"), 2U);
    }
    SetEnvironmentVariableA("ComSpec", nullptr);
}

// Nothing says that the first run has ended when the copy begins: as long as it runs, its
// file is in use, and for a moment afterwards somebody may still look at it.
TEST(HandOver, LeavesTheFirstRunTimeToEnd) {
    NEEDS_SETTINGS();
    Machine machine;
    machine.Setting("trace", "calls=1");
    for (const std::string& refusal :
         Lines{"1 " + kOwnFile + "=32", "2 " + kOwnFile + "=32", "3 " + kOwnFile + "=5",
               "1 " + kProgramFolder + "=32"}) {
        machine.Setting("faults", "copy SHFileOperationA " + refusal);
    }
    ExpectOutcome(machine.RunFirst({}), RunShows(), CompleteRemoval());
    EXPECT_EQ(machine.Calls("SHFileOperationA", kOwnFile), 4U);
    EXPECT_EQ(machine.Calls("SHFileOperationA", kProgramFolder), 2U);
}

struct Failure {
    std::string fault;
    const char* description;
    const char* place;
    Lines left;  // in the temporary folder
};

TEST(HandOver, ReportsWhereItFailed) {
    NEEDS_SETTINGS();
    const std::vector<Failure> failures{
        {"first GetShortPathNameA * *=3",
         "GetShortPathName failed for long path \"C:\\windows\\Temp\\\".\\n\\t\\n\\tDas System "
         "kann den angegebenen Pfad nicht finden. (Error code 3)",
         "1:2:5",
         {"+ file " + kScript, "+ file " + kCopy}},
        {"first FindFirstFileA * " + kEditor + "=21", "", "1:2:71", {}},  // before anything is made
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
        ExpectEnd(outcome, "\"UnInstaller:2:0:33:" + std::string(failure.place) + "\"",
                  failure.left);
        if (*failure.description != '\0') {
            EXPECT_EQ(outcome.shown[1],
                      Fatal(FatalMessage(failure.description, failure.place), "No"));
            EXPECT_EQ(machine.Content(kScript), "");
        }
    }
}

}  // namespace
}  // namespace support
