// From the program folder to the end: the first run, the script, the copy.
#include "main/Script.h"
#include "tests/support/flow.h"

namespace support {
namespace {

// The product in another folder; the staged settings keep naming the old one.
Outcome RunFrom(Fixture& fixture, const std::string& folder, const Lines& answers) {
    fixture.Program(folder + "\\UnInstall.exe").File(folder + "\\Tessorin.exe", "x");
    return fixture.Run(folder + "\\UnInstall.exe", "", answers);
}

std::string RefusedFolder(const std::string& folder) {
    return "Das Skript würde einen anderen Ordner übergeben: \"" + folder + "\"";
}
std::string RefusedTemp(const std::string& folder) {
    return "Temporärer Ordner nicht verwendbar: \"" + folder + "\"";
}

TEST(HandOver, RemovesTheProductAndItsOwnTraces) {
    Fixture fixture;
    ExpectFinished(fixture.RunFirst({"no"}), {Confirmation("No")}, {});
    // Whatever earlier runs have left.
    fixture.File(kScript, "del \"C:\\*.*\"\r\n" + std::string(5000, 'x'));
    fixture.File(kRecord, std::string(5000, 'x')).File(kCopy, "not a program");
    ExpectFinished(fixture.RunFirst({}), RunShows(Success()),
                   Removal().Also({"- file " + kScript, "- file " + kRecord, "- file " + kCopy}));
}

TEST(HandOver, CarriesEveryKindOfFolderName) {
    for (const std::string& folder : Lines{
             "C:\\Tessorin",
             // Wine's "start" puts one blank between the words again.
             Fixture::kHasFaults ? "C:\\Mein  Programm mit Blanks" : "C:\\Mein Programm",
             "C:\\Programme\\ÄÖÜ äöüß é ñ",
             "C:\\a=b;c,d(e)f!g'h+i~j#k$l@m[n]{o}`p",
             "C:\\" +
                 std::string(112, 'z'),  // the editor's path is the first too long for OpenFile
             "C:\\" + std::string(100, 'x') + "\\" + std::string(100, 'y'),
         }) {
        SCOPED_TRACE(folder);
        Fixture fixture;
        ExpectFinished(RunFrom(fixture, folder, {"yes", "no"}),
                       {Confirmation(), Progress(), ResetQuestion("No"), Success()},
                       Removal().From(folder));
    }
}

// The interpreter would take these characters away, or begin another command with them.
TEST(HandOver, IsRefusedWhereTheInterpreterWouldChangeTheFolder) {
    for (const std::string folder :
         {"C:\\Text & Bild", "C:\\Text&Bild", "C:\\100% Bild", "C:\\%TEMP%", "C:\\Text^Bild"}) {
        SCOPED_TRACE(folder);
        Fixture fixture;
        fixture.Folder("C:\\Text");
        ExpectBrokenOff(RunFrom(fixture, folder, {"yes", "no"}),
                        {Confirmation(), Fatal(RefusedFolder(folder), "1:2:5", "No")}, {});
    }
}

// A letter that its code page lacks arrives as another one: there is no such folder.
TEST(HandOver, HarmsNothingWhereALetterDoesNotArrive) {
    Fixture fixture;
    const Outcome outcome = RunFrom(fixture, "C:\\Euro €", {});
    EXPECT_EQ(outcome.status, 0);
    ExpectChanges({}, outcome.difference);
    ASSERT_EQ(outcome.shown.size(), 2U);
    EXPECT_NE(outcome.shown[1].find("Unbekanntes Befehlszeilenargument (\"/u=C:\\Euro "),
              std::string::npos);
}

// The temporary folder's short form stands in the script without quotes, and must lead to the
// same place wherever the interpreter stands. The file system allows few of these letters in it.
TEST(HandOver, IsRefusedWhereTheTemporaryFolderIsNoWord) {
    NEEDS_FAULTS();
    const std::string folder = "C:\\A&B";
    Fixture fixture;
    fixture.Folder(folder).Setting("folders", "temp=" + folder);
    ExpectBrokenOff(fixture.RunFirst({"yes", "no"}),
                    {Confirmation(), Fatal(RefusedTemp(folder + "\\"), "1:2:5", "No")}, {});
    for (const char* good : {"C:\\", "C:\\windows\\Temp\\", "\\\\server\\share\\TEMP~1\\"}) {
        EXPECT_FALSE(CheckScriptFolders(good, "C:\\Tessorin").Failed()) << good;
    }
    for (const char* bad :
         {"", "Temp\\", "\\Temp\\", "C:Temp\\", "C:\\a b\\", "C:\\100%\\", "C:\\a^b\\", "C:\\a;b\\",
          "C:\\a,b\\", "C:\\a=b\\", "C:\\a|b\\", "C:\\M\xFCll\\"}) {
        const RuntimeError error = CheckScriptFolders(bad, "C:\\Tessorin");
        EXPECT_EQ(error.number, 5) << bad;
        EXPECT_EQ(ToUtf8(error.description), RefusedTemp(ToUtf8(bad)));
    }
}

// The script names the temporary folder in the characters of Windows, and in quotes: the
// interpreter finds the copy by its short name, but not the files that it should delete where it
// reads the name as another one.
TEST(HandOver, WorksThroughOtherTemporaryFolders) {
    for (const std::string& folder :
         Lines{"C:\\Temp von Clara", "C:\\Temp von %windir%", "C:\\Müll"}) {
        SCOPED_TRACE(folder);
        const std::string file = "+ file " + folder + "\\UnInstall.";
        const bool isFound = folder.ends_with("Clara");
        Fixture fixture;
        fixture.Setting("folders", "temp=" + folder).Folder(folder);
        ExpectFinished(
            fixture.RunFirst({}), RunShows(Success()),
            Removal().Also(isFound ? Lines{} : Lines{file + "bat", file + "exe", file + "pif"}));
    }
}

TEST(HandOver, NamesTheCopyAlwaysTheSame) {
    Fixture fixture;
    fixture.Remove(kOwnFile).Program(kProgramFolder + "\\Remove.exe");
    ExpectFinished(fixture.Run(kProgramFolder + "\\Remove.exe", "", {}), RunShows(Success()),
                   Removal());
}

TEST(HandOver, StopsAtAnEditorThatIsNotFree) {
    const Lines answers{"yes", "retry", "cancel"};
    const Lines shown{Confirmation(), InUse("Retry"), InUse("Cancel")};
    Fixture fixture;
    fixture.HoldOpen(kEditor);
    ExpectFinished(fixture.RunFirst(answers), shown, {});
    fixture.LetGo();
    if (Fixture::kKeepsReadOnly) {
        // Hidden, it is still there.
        for (const char* attributes : {"R", "RHS"}) {
            fixture.Attributes(kEditor, attributes);
            ExpectFinished(fixture.RunFirst(answers), shown, {});
        }
    }
    fixture.Remove(kEditor);
    ExpectFinished(fixture.RunFirst({}), RunShows(Success()), Removal());
}

// A path of 128 characters and more is opened in another way, for the same access.
TEST(HandOver, StopsAtAnEditorInALongFolderThatIsNotFree) {
    const std::string folder = "C:\\" + std::string(112, 'z');
    Fixture fixture;
    fixture.File(folder + "\\Tessorin.exe", "x").HoldOpen(folder + "\\Tessorin.exe");
    fixture.Program(folder + "\\UnInstall.exe");
    ExpectFinished(fixture.Run(folder + "\\UnInstall.exe", "", {"yes", "cancel"}),
                   {Confirmation(), InUse("Cancel")}, {});
}

TEST(HandOver, WaitsForTheEditor) {
    NEEDS_FAULTS();
    Fixture fixture;
    fixture.Fault("first OpenFile 1 *=32").Fault("first OpenFile 2 *=5");
    ExpectFinished(fixture.RunFirst({"yes", "retry"}),
                   Lines{Confirmation(), InUse("Retry"), InUse("Retry")} + CopyShows(Success()),
                   Removal());
}

std::string CopyFailed(const std::string& answer, DWORD code,
                       const std::string& source = kOwnFile) {
    return Text("copy failed", {answer, source, kCopy, SystemText(code)});
}

TEST(HandOver, AsksWhatToDoWhenTheCopyFails) {
    NEEDS_FAULTS();
    Fixture fixture;
    fixture.Fault("first CopyFileA 1 *=112");
    ExpectFinished(
        fixture.RunFirst({"yes", "abort"}),
        {Confirmation(), Text("copy failed", {"Abort", kOwnFile, kCopy,
                                              "\\n\\nEs steht nicht genug Speicherplatz auf dem "
                                              "Datenträger zur Verfügung. (Fehlercode 112)"})},
        {});
    fixture.Fault("first CopyFileA 2 *=99999");
    const Outcome retried = fixture.RunFirst({"yes", "retry", "retry"});
    fixture.Enter();
    ExpectFinished(retried,
                   Lines{Confirmation(), CopyFailed("Retry", 112),
                         Text("copy failed", {"Retry", kOwnFile, kCopy, " (Fehlercode 99999)"})} +
                       CopyShows(Success()),
                   Removal());
}

// Whatever lies there from earlier, no other copy is started: the script finds nothing to start
// and tidies up.
TEST(HandOver, StartsNothingAfterACopyThatFailed) {
    NEEDS_FAULTS();
    Fixture fixture;
    fixture.Program(kCopy).Fault("first CopyFileA * *=112");
    Outcome outcome = fixture.RunFirst({"yes", "ignore"});
    EXPECT_EQ(outcome.errors, "start \"" + kCopy + "\": error 2\n");  // the sandbox's log
    outcome.errors.clear();
    fixture.Enter();
    ExpectFinished(outcome, {Confirmation(), CopyFailed("Ignore", 112)}, {"- file " + kCopy});
}

// Who cannot be asked what to do about a failed copy is told that the run ends.
TEST(HandOver, ReportsAQuestionThatCannotBeShown) {
    NEEDS_FAULTS();
    Fixture fixture;
    fixture.Fault("first CopyFileA * *=112").Fault("first MessageBoxA 2 *=8");
    ExpectBrokenOff(fixture.RunFirst({}), {Confirmation(), Fatal("", "8:1:0", "Yes")}, {});
}

// Neither does it touch the attributes of what it cannot replace: its own file, or a copy that
// another uninstaller has open.
TEST(HandOver, IsRefusedWhileTheCopyIsInUse) {
    for (const char* attributes : {"", "H", "R"}) {
        SCOPED_TRACE(attributes);
        Fixture fixture;
        fixture.Program(kCopy).Attributes(kCopy, attributes);
        const Outcome own = fixture.Run(kCopy, "", {"yes", "abort"});
        fixture.Enter();
        const bool isReadOnly = Fixture::kKeepsReadOnly && *attributes == 'R';
        ExpectFinished(own, {Confirmation(), CopyFailed("Abort", isReadOnly ? 5 : 32, kCopy)}, {});
        fixture.HoldOpen(kCopy);
        ExpectFinished(fixture.RunFirst({"yes", "abort"}),
                       {Confirmation(), CopyFailed("Abort", 32)}, {});
    }
}

// The copy of a read-only file is not read-only, and neither does an older one stay for that.
TEST(HandOver, LeavesNothingBehindThatIsReadOnly) {
    NEEDS(kKeepsReadOnly, "needs a system that keeps read-only files");
    Fixture fixture;
    fixture.Attributes(kOwnFile, "R").File(kCopy, "older", "R");
    ExpectFinished(fixture.RunFirst({}), RunShows(Problems({NotDeleted("Die Datei", kOwnFile)})),
                   Removal().Also("- file " + kCopy));
}

TEST(HandOver, EndsAtAnOlderFileThatCannotGo) {
    for (const auto& [path, place] : {std::pair(kScript, "1:2:70"), {kRecord, "1:3:70"}}) {
        Fixture fixture;
        fixture.File(path, "older").HoldOpen(path);
        Outcome outcome = fixture.RunFirst({"yes", "no"});
        std::erase_if(outcome.difference, [](const std::string& line) {
            return line.starts_with("+ file " + kTempFolder + "\\UnInstall.");
        });
        const std::string reason = Description("Zugriff verweigert", path, ERROR_SHARING_VIOLATION);
        ExpectBrokenOff(outcome, {Confirmation(), Fatal(reason, place, "No")}, {});
    }
}

TEST(HandOver, WritesThroughNoLink) {
    NEEDS_FAULTS();
    const std::string letter = "C:\\Brief.txt";
    Fixture fixture;
    fixture.File(letter, "x").Link(kCopy, letter);
    ExpectFinished(fixture.RunFirst({}), RunShows(Success()), Removal().Also("- file " + kCopy));
    // Nor through one that cannot go.
    Fixture kept;
    kept.File(letter, "x").Link(kCopy, letter).Fault("first DeleteFileA * " + kCopy + "=5");
    const Outcome outcome = kept.RunFirst({"yes", "abort"});
    kept.Enter();
    ExpectFinished(outcome, {Confirmation(), CopyFailed("Abort", 5)}, {});
    // Nor through one that somebody makes between the deletion of the older file and the new one.
    for (const auto& [call, path] : {std::pair("CopyFileA 1 ", kCopy),
                                     {"CreateFileA 1 ", kScript},
                                     {"CreateFileA 1 ", kRecord}}) {
        SCOPED_TRACE(call + path);
        Fixture planted;
        planted.File(letter, "Inhalt");
        planted.Meanwhile("first " + (call + path),
                          [&, path = path] { planted.Remove(path).Link(path, letter); });
        planted.RunFirst({"yes", "abort"});
        EXPECT_EQ(planted.Content(letter), "Inhalt");
    }
}

// Whatever a variable says, and wherever a process is started: the interpreter is the system's,
// and nobody stands in the folder that is to be removed.
TEST(HandOver, StartsTheSystemsInterpreter) {
    Fixture fixture;
    fixture.Enter();
    SetEnvironmentVariableA("ComSpec", "C:\\nirgends\\cmd.exe");
    fixture.RecordCalls();
    ExpectFinished(fixture.RunFirst({}), RunShows(Success()), Removal());
    if (Fixture::kHasFaults) {
        EXPECT_EQ(fixture.Calls("SetEnvironmentVariableA", "ComSpec"), 1U);
        EXPECT_EQ(fixture.Calls("SetCurrentDirectoryA", "C:\\windows\\system32\\"), 2U);
    }
    SetEnvironmentVariableA("ComSpec", nullptr);
}

// Nothing says that the first run has ended when the copy begins: as long as it runs, its
// file is in use, and for a moment afterwards somebody may still look at it.
TEST(HandOver, LeavesTheFirstRunTimeToEnd) {
    NEEDS_FAULTS();
    Fixture fixture;
    fixture.RecordCalls();
    for (const std::string& refusal :
         Lines{"1 " + kOwnFile + "=32", "2 " + kOwnFile + "=32", "3 " + kOwnFile + "=5",
               "1 " + kProgramFolder + "=32"}) {
        fixture.Fault("copy SHFileOperationA " + refusal);
    }
    ExpectFinished(fixture.RunFirst({}), RunShows(Success()), Removal());
    EXPECT_EQ(fixture.Calls("SHFileOperationA", kOwnFile), 4U);
    EXPECT_EQ(fixture.Calls("SHFileOperationA", kProgramFolder), 2U);
}

// The copy holds the script from which it was started, so that its last lines run as they were
// written: it can be read, and neither written nor deleted nor replaced.
TEST(HandOver, HoldsTheScriptBesideTheCopy) {
    for (const std::string& arguments : Lines{CopyArguments(), "/u=C:\\fehlt"}) {
        Fixture fixture;
        fixture.File(kScript, "del x");
        const auto open = [&fixture](DWORD access) {
            fixture.Enter();
            const handles::File file(CreateFileA(
                kScript.c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
            return file ? DWORD{ERROR_SUCCESS} : GetLastError();
        };
        fixture.Meanwhile("copy MessageBoxA 1 *", [&] {
            EXPECT_EQ(open(GENERIC_READ), DWORD{ERROR_SUCCESS});
            EXPECT_EQ(open(GENERIC_WRITE), DWORD{ERROR_SHARING_VIOLATION});
            EXPECT_EQ(DeleteFileA(kScript.c_str()), FALSE);
        });
        const bool removes = arguments == CopyArguments();
        ExpectFinished(fixture.RunCopy(arguments, {}),
                       removes ? CopyShows(Success()) : Lines{UnknownArgument(arguments)},
                       removes ? Removal() : Lines{});
        EXPECT_EQ(fixture.Content(kScript), "del x");
        EXPECT_EQ(open(GENERIC_WRITE), DWORD{ERROR_SUCCESS});
    }
}

TEST(HandOver, GoesOnWhereTheScriptCannotBeHeld) {
    NEEDS_FAULTS();
    Fixture fixture;
    fixture.RecordCalls().Fault("copy CreateFileA * " + kScript + "=32");
    ExpectFinished(fixture.RunFirst({}), RunShows(Success()), Removal());
}

struct Failure {
    const char* fault;
    std::string description;
    const char* place;
    Lines left;  // in the temporary folder
};

TEST(HandOver, ReportsWhereItFailed) {
    NEEDS_FAULTS();
    Fixture texts;
    texts.Enter();
    const std::string none = "Das System kann den angegebenen Pfad nicht finden.";
    const std::vector<Failure> failures{
        {"first GetShortPathNameA * *=3",
         "GetShortPathName failed for long path \"C:\\windows\\Temp\\\".\\n\\t\\n\\t" + none +
             " (Error code 3)",
         "1:2:5",
         {"+ file " + kScript, "+ file " + kCopy}},
        {"first FindResourceA 1 *=1814",
         Description("Ressource nicht gefunden", "Custom 101", 1814),
         "1:3:326",
         {"+ file " + kScript, "+ file " + kCopy}},
        {"first CreateProcessA * *=2",
         Description("Datei nicht gefunden", kScript, 2),
         "1:4:53",
         {"+ file " + kScript, "+ file " + kCopy, "+ file " + kRecord}},
    };
    for (const Failure& failure : failures) {
        SCOPED_TRACE(failure.fault);
        Fixture fixture;
        fixture.Fault(failure.fault);
        ExpectBrokenOff(fixture.RunFirst({"yes", "no"}),
                        {Confirmation(), Fatal(failure.description, failure.place, "No")},
                        failure.left);
        // A script that could not be built is empty.
        EXPECT_EQ(fixture.Content(kScript).empty(), failure.place == std::string("1:2:5"));
    }
}

}  // namespace
}  // namespace support
