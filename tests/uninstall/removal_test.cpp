// The relaunched copy on a staged computer: what goes, what stays, what is said about it.
#include "platform/win32.h"
#include "tests/support/flow.h"

namespace support {
namespace {

const std::string kKeyKind = "Der Registrierungsschlüssel";
const std::string kFolderKind = "Das Verzeichnis";
const std::string kProduct = kMakerKey + "\\Tessorin";

// All shortcuts but one.
Lines ShortcutsGone() {
    const std::string shortcut = "- file " + kGroupFolder + "\\Tessorin";
    return {shortcut + ".lnk", shortcut + "-Website.lnk", shortcut + " Website.lnk"};
}

// A program folder that stays, without the two files that go first.
Removal WithoutProgramFolder() {
    return Removal()
        .Keeps("- folder " + kProgramFolder)
        .Also({"- file " + kEditor, "- file " + kOwnFile});
}

// Each change by what it is about, in order, and "|" wherever the window is repainted.
std::string StepsAndRepaints(const Fixture& fixture) {
    std::string steps;
    for (const Call& call : fixture.CallsMade()) {
        const std::string& what = call.argument;
        const std::size_t name = what.find_last_of("\\", what.find('|')) + 1;
        const bool isStep = call.changes && call.role == "copy" && call.result == "0";
        steps += call.function == "Refresh" ? "| " : isStep ? what.substr(name) + " " : "";
    }
    return steps;
}

TEST(Removal, RepaintsAfterEachOfItsSteps) {
    NEEDS_FAULTS();
    Fixture fixture;
    fixture.RecordCalls().RunCopy({"yes", "no"});
    EXPECT_EQ(StepsAndRepaints(fixture),
              "Tessorin.exe | UnInstall.exe | Büro Tessorin | "
              "SharedDLLs|C:\\windows\\system32\\Msvbvm60.dll "
              "SharedDLLs|C:\\windows\\system32\\MSComCtl.ocx "
              "Tessorin.lnk | Deinstallieren.lnk | Tessorin-Website.lnk | Tessorin Website.lnk | "
              "Tessorin | Registrierung Tessorin | Verlonix | Fenster Zuletzt geöffnet Tessorin | "
              "Verlonix | Tessorin | Verlonix | | | Fenster Tessorin | | | | Tessorin ");
    // The same where there is no group folder.
    Fixture without;
    without.NoSetting("folders", "common-programs").NoSetting("folders", "programs");
    without.RecordCalls().RunCopy({"yes", "no"});
    const std::string steps = StepsAndRepaints(without);
    EXPECT_NE(steps.find("MSComCtl.ocx | | | | | Registrierung"), std::string::npos) << steps;
}

// The request as the shell gets it: which function, which paths, without which questions.
TEST(Removal, AsksTheShellForADeletionWithoutQuestions) {
    NEEDS_FAULTS();
    Fixture fixture;
    fixture.RecordCalls().RunCopy({});
}

TEST(Removal, WithoutResetKeepsEveryShellSettingAndTheKeysOfOtherProducts) {
    const std::string user = "HKU" + kUser.substr(kUser.find('\\'));
    Fixture fixture;
    Removal removed = Removal().WithoutReset();
    for (const auto& [root, name] : {std::pair(kHklm, std::string("HKLM\\")), {kUser, user}}) {
        fixture.Key(root + kMakerKey + "\\Kalendorin");
        removed = removed.Keeps("- key " + name + kMakerKey).Also("- key " + name + kProduct);
    }
    ExpectFinished(fixture.RunCopy({"yes", "no"}),
                   {Progress(), FolderNotEmpty(kProgramFolder), ResetQuestion("No"), Success()},
                   removed);
}

TEST(Removal, KeepsAFolderThatIsNotEmptyIfAskedTo) {
    Fixture fixture;
    fixture.File(kGroupFolder + "\\Meine Verknüpfung.lnk", "x", "H");
    ExpectFinished(fixture.RunCopy({"no", "no"}),
                   {Progress(), FolderNotEmpty(kProgramFolder, "No"),
                    FolderNotEmpty(kGroupFolder, "No"), ResetQuestion(),
                    Problems({NotDeleted(kFolderKind, kProgramFolder),
                              NotDeleted(kFolderKind, kGroupFolder)})},
                   WithoutProgramFolder()
                       .Keeps(kGroupFolder)
                       .Also(ShortcutsGone())
                       .Also("- file " + kGroupFolder + "\\Deinstallieren.lnk"));
}

// Who could not be asked has not agreed.
TEST(Removal, KeepsAFolderThatCouldNotBeAskedAbout) {
    NEEDS_FAULTS();
    Fixture fixture;
    fixture.Fault("copy MessageBoxA 1 *=8");
    ExpectFinished(
        fixture.RunCopy({}),
        {Progress(), ResetQuestion(), Problems({NotDeleted(kFolderKind, kProgramFolder)})},
        WithoutProgramFolder());
}

// A look into the folder that breaks off has not shown that it is empty.
TEST(Removal, KeepsAFolderThatCannotBeReadToItsEnd) {
    NEEDS_FAULTS();
    for (const std::string occurrence : {"1", "2"}) {
        Fixture fixture;
        fixture.Fault("copy FindNextFileA " + occurrence + " " + kProgramFolder + "\\*=21");
        ExpectFinished(
            fixture.RunCopy({}),
            {Progress(), ResetQuestion(), Problems({NotDeleted(kFolderKind, kProgramFolder)})},
            WithoutProgramFolder());
    }
}

TEST(Removal, DoesNotTryWhatIsReadOnly) {
    NEEDS(kKeepsReadOnly, "folders are never read-only here");
    Fixture fixture;
    fixture.Attributes(kProgramFolder, "R").Attributes(kEditor, "RH");
    fixture.Attributes(kGroupFolder + "\\Deinstallieren.lnk", "R");
    ExpectFinished(
        fixture.RunCopy({"no", "yes"}),
        {Progress(), FolderNotEmpty(kGroupFolder, "No"), ResetQuestion(),
         Problems({NotDeleted("Die Datei", kEditor), NotDeleted(kFolderKind, kProgramFolder),
                   NotDeleted("Die Verknüpfung", kGroupFolder + "\\Deinstallieren.lnk"),
                   NotDeleted(kFolderKind, kGroupFolder)})},
        Removal().Keeps("- folder ").Also(ShortcutsGone()).Also("- file " + kOwnFile));
}

// Read-only files inside go with their folder: only the folder's own attribute counts.
TEST(Removal, FindsHiddenRemainsAndEmptyFolders) {
    Fixture fixture;
    fixture.Remove(kProgramFolder).File(kProgramFolder + "\\nur dies.txt", "x", "RHS");
    fixture.Remove(kGroupFolder).Folder(kGroupFolder);
    ExpectFinished(fixture.RunCopy({}), CopyShows(Success()), Removal());
}

// What lies in the folder's place is looked for and deleted by its name, as the folder is.
TEST(Removal, TakesAFileInPlaceOfTheGroupFolder) {
    Fixture fixture;
    fixture.Remove(kGroupFolder).File(kGroupFolder, "x");
    ExpectFinished(fixture.RunCopy({}), CopyShows(Success()),
                   Removal().Keeps(kGroupFolder).Also("- file " + kGroupFolder));
}

// Blanks at the end, too: the system passes over them.
TEST(Removal, FindsItsFolderUnderAnyNameOfIt) {
    Fixture fixture;
    fixture.Enter();
    std::string name(MAX_PATH, '\0');
    name.resize(GetShortPathNameA(FromUtf8(kProgramFolder).c_str(), name.data(), MAX_PATH));
    EXPECT_EQ(name.find(' '), std::string::npos) << name;
    for (const std::string& spelling :
         {ToUtf8(name), kProgramFolder + "   ", std::string("c:\\programme\\BÜRO tessorin\\")}) {
        Fixture one;
        ExpectFinished(one.RunCopy("/u=" + spelling, {}), CopyShows(Success()), Removal());
    }
}

TEST(Removal, HasNothingToSayWhenEverythingIsGoneAlready) {
    Fixture fixture;
    fixture.RunCopy({});
    ExpectFinished(fixture.RunCopy({}), {UnknownArgument(CopyArguments())}, {});
    fixture.Folder(kProgramFolder).RemoveKey(kSharedDlls);
    ExpectFinished(fixture.RunCopy({}), {Progress(), ResetQuestion(), Success()},
                   {"- folder " + kProgramFolder});
}

// ---- what others hold ------------------------------------------------------------------

TEST(Removal, WaitsForAFileThatIsHeld) {
    NEEDS_FAULTS();
    Fixture fixture;
    fixture.HoldOpen(kEditor);
    fixture.Meanwhile("copy SHFileOperationA 3 " + kEditor, [&fixture] { fixture.LetGo(); });
    ExpectFinished(fixture.RunCopy({}), CopyShows(Success()), Removal());
}

TEST(Removal, GivesAHeldFileUpAfterHalfASecond) {
    Fixture fixture;
    fixture.HoldOpen(kEditor);
    const Outcome outcome = fixture.RunCopy({});
    EXPECT_EQ(outcome.shown, CopyShows(Problems({NotDeleted("Die Datei", kEditor),
                                                 NotDeleted(kFolderKind, kProgramFolder)})));
    const State after = fixture.Look();
    EXPECT_TRUE(after.files.contains(kEditor));
    Lines elsewhere = outcome.difference;
    std::erase_if(elsewhere,
                  [](const auto& line) { return line.find(kProgramFolder) != std::string::npos; });
    ExpectChanges(Removal().Keeps("- folder " + kProgramFolder), elsewhere);
}

// A deletion is tried once and then every 10 ms until more than 500 ms have passed, also
// across the wrap of the tick count: 51 times. A folder has as many attempts as a file, however
// much there is in it.
TEST(Removal, CountsHalfASecondAcrossTheWrapOfTheClock) {
    NEEDS_FAULTS();
    for (const std::string& start : Lines{"start=0", "start=4294967200"}) {
        SCOPED_TRACE(start);
        Fixture fixture;
        fixture.Setting("clock", start).RecordCalls();
        fixture.Fault("copy SHFileOperationA * " + kEditor + "=32");
        ExpectFinished(fixture.RunCopy({}), CopyShows(Problems({NotDeleted("Die Datei", kEditor)})),
                       Removal());
        EXPECT_EQ(fixture.Calls("SHFileOperationA", kEditor), 51U);

        Fixture another;
        another.Setting("clock", start);
        for (int time = 1; time <= 50; ++time) {
            another.Fault("copy SHFileOperationA " + std::to_string(time) + " " + kEditor + "=32");
        }
        ExpectFinished(another.RunCopy({}), CopyShows(Success()), Removal());
    }
}

TEST(Removal, TriesAFolderWithMuchInItAsOftenAsAFile) {
    NEEDS_FAULTS();
    Fixture fixture;
    for (int i = 0; i < 1500; ++i) {
        fixture.Folder(kProgramFolder + "\\Ordner " + std::to_string(i));
    }
    fixture.RecordCalls().Fault("copy SHFileOperationA * " + kProgramFolder + "=32");
    ExpectFinished(fixture.RunCopy({}),
                   CopyShows(Problems({NotDeleted(kFolderKind, kProgramFolder)})),
                   WithoutProgramFolder());
    EXPECT_EQ(fixture.Calls("SHFileOperationA", kProgramFolder), 51U);
}

// ---- links, and names that the code page lacks -----------------------------------------

// A link in the folder goes, what it leads to stays: older shells empty it.
TEST(Removal, FollowsNoLinkOutOfItsFolder) {
    NEEDS_FAULTS();
    Fixture fixture;
    fixture.Link(kProgramFolder + "\\Hilfe\\Bilder\\alle", "C:\\");
    fixture.Link(kProgramFolder + "\\Hilfe\\oben", kProgramFolder);
    fixture.Link(kProgramFolder + "\\Hilfe\\Textwerk", "C:\\Programme\\Textwerk");
    fixture.Link(kProgramFolder + "\\nirgends", "C:\\gibt\\es\\nicht");
    fixture.Link(kProgramFolder + "\\Notepad.exe", "C:\\windows\\Notepad.exe");
    fixture.Link(kGroupFolder + "\\Textwerk", "C:\\Programme\\Textwerk");
    ExpectFinished(fixture.RunCopy({}),
                   {Progress(), FolderNotEmpty(kProgramFolder), FolderNotEmpty(kGroupFolder),
                    ResetQuestion(), Success()},
                   Removal());
}

// A folder is not the shell's as long as a link is in it: not in one whose letters the code page
// lacks either, which is entered by its short name.
TEST(Removal, KeepsAFolderWhoseLinksStay) {
    NEEDS_FAULTS();
    for (const std::string& folder : Lines{"\\Hilfe", "\\Ελλάδα", "\\Łódź"}) {
        SCOPED_TRACE(folder);
        Fixture fixture;
        fixture.Folder(kProgramFolder + folder);
        fixture.Link(kProgramFolder + folder + "\\Textwerk", "C:\\Programme\\Textwerk");
        fixture.Fault("copy RemoveDirectoryA * *=5");
        ExpectFinished(fixture.RunCopy({}),
                       CopyShows(Problems({NotDeleted(kFolderKind, kProgramFolder)})),
                       WithoutProgramFolder());
    }
}

// The code page has none of these letters, or only similar ones: such a folder is entered by its
// short name. Two of them look alike by their long ones, and one looks like its neighbour.
TEST(Removal, TakesNamesThatTheCodePageLacks) {
    NEEDS_FAULTS();
    Fixture fixture;
    fixture.Folder(kProgramFolder + "\\Lódz");
    for (const std::string& folder : Lines{"\\Ελλάδα", "\\Κύπρος", "\\Łódź"}) {
        fixture.File(kProgramFolder + folder + "\\Γράμμα.txt", "x", "R");
        fixture.Link(kProgramFolder + folder + "\\Textwerk", "C:\\Programme\\Textwerk");
    }
    fixture.File(kProgramFolder + "\\Я.txt", "x");
    ExpectFinished(fixture.RunCopy({}), CopyShows(Success()), Removal());
}

// Where the volume keeps no short names nobody but the shell can look into it, and nobody but the
// shell needs to.
TEST(Removal, LeavesAFolderThatCannotBeListedToTheShell) {
    NEEDS_FAULTS();
    Fixture fixture;
    fixture.Folder(kProgramFolder + "\\Ελλάδα");
    fixture.Fault("copy FindFirstFileA * " + kProgramFolder + "\\*=less");
    ExpectFinished(fixture.RunCopy({}), CopyShows(Success()), Removal());
    Fixture closed;
    closed.Fault("copy FindFirstFileA * " + kProgramFolder + "\\Hilfe\\*=5");
    ExpectFinished(closed.RunCopy({}), CopyShows(Success()), Removal());
}

// ---- the menu --------------------------------------------------------------------------

TEST(Removal, FallsBackToTheUsersOwnMenu) {
    NEEDS_FAULTS();
    const std::string own =
        "C:\\Dokumente und Einstellungen\\Clara\\Startmenü\\Programme\\Tessorin";
    Fixture fixture;
    fixture.NoSetting("folders", "common-programs");
    ExpectFinished(fixture.RunCopy({}), CopyShows(Success()),
                   Removal().Keeps(kGroupFolder).Also("- folder " + own));

    // Without any menu nothing may happen relative to the current folder.
    Fixture without;
    without.NoSetting("folders", "common-programs").NoSetting("folders", "programs");
    without.Folder("C:\\windows\\system32\\Tessorin");
    ExpectFinished(without.RunCopy({}), CopyShows(Problems({NotDeleted(kFolderKind, "Tessorin")})),
                   Removal().Keeps(kGroupFolder));
}

// ---- keys ------------------------------------------------------------------------------

// A key that disappears meanwhile is gone; one whose subkeys cannot all be named is not begun.
TEST(Removal, TakesKeysThatOthersWorkOn) {
    NEEDS_FAULTS();
    const std::string key = kHklm + kProduct;
    Fixture fixture;
    fixture.Fault("copy RegOpenKeyExA 1 " + key + "\\Registrierung:enumerate=gone");
    ExpectFinished(fixture.RunCopy({}), CopyShows(Success()), Removal());
    Fixture half;
    half.Fault("copy RegEnumKeyA 2 " + key + "=1450");
    ExpectFinished(half.RunCopy({}), CopyShows(Problems({NotDeleted(kKeyKind, key)})),
                   Removal().Keeps("- key HKLM\\" + kMakerKey));
}

// What is not there need not be deleted, whoever its parent belongs to.
TEST(Removal, MissesNoKeyThatIsNotThere) {
    NEEDS_FAULTS();
    Fixture fixture;
    fixture.RemoveKey(kClasses + "Unknown\\Shell\\Tessorin");
    fixture.Value(kClasses + "Unknown\\Shell", "", "\"openas\"");
    fixture.Fault("copy RegOpenKeyExA * HKEY_CLASSES_ROOT\\Unknown\\Shell:set=5");
    ExpectFinished(fixture.RunCopy({}), CopyShows(Success()), Removal().Keeps("Unknown"));
}

TEST(Removal, NamesTheKeysThatItMayNotTouch) {
    NEEDS_FAULTS();
    const std::string uninstall =
        kHklm + "Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\Tessorin";
    const std::string neighbour =
        "HKEY_USERS\\S-1-5-21-1454471165-823518204-1801674531-1001\\" + kProduct;
    Fixture fixture;
    fixture.Fault("copy RegDeleteKeyA * " + uninstall + "=5");
    fixture.Fault("copy RegOpenKeyExA * HKEY_CURRENT_USER\\" + kProduct + ":enumerate=5");
    fixture.Fault("copy RegOpenKeyExA * " + kUser + kProduct + ":enumerate=5");
    fixture.Fault("copy RegDeleteKeyA * " + neighbour + "\\Fenster=5");
    ExpectFinished(
        fixture.RunCopy({}),
        // The user's own hive is met again among all hives.
        CopyShows(Problems({NotDeleted(kKeyKind, "HKEY_CURRENT_USER\\" + kProduct),
                            NotDeleted(kKeyKind, kUser + kProduct), NotDeleted(kKeyKind, neighbour),
                            NotDeleted(kKeyKind, uninstall)})),
        Removal().Keeps(
            Lines{"\\Uninstall\\", "1000\\Software\\Verlonix", "1001\\Software\\Verlonix"}));
}

}  // namespace
}  // namespace support
