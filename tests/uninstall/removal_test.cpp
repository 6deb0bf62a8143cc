// The relaunched copy on a staged machine: what goes, what stays, what is said about it.
#include "platform/win32.h"
#include "tests/support/flow.h"

namespace support {
namespace {

// All but one.
Lines ShortcutsGone() {
    const std::string shortcut = "- file " + kGroupFolder + "\\Tessorin";
    return {shortcut + ".lnk", shortcut + "-Website.lnk", shortcut + " Website.lnk"};
}

TEST(Removal, WithoutResetKeepsEveryShellSettingAndTheKeysOfOtherProducts) {
    const std::string user = "HKU" + kUser.substr(kUser.find('\\'));
    Machine machine;
    Lines removed = WithoutReset();
    for (const auto& [root, name] : {std::pair(kHklm, std::string("HKLM\\")), {kUser, user}}) {
        machine.Key(root + kMakerKey + "\\Kalendorin");
        removed = With(Without(removed, Lines{"- key " + name + kMakerKey}),
                       {"- key " + name + kMakerKey + "\\Tessorin"});
    }
    ExpectOutcome(machine.RunCopy({"yes", "no"}), CopyShows({}, "No"), removed);
}

TEST(Removal, KeepsAFolderThatIsNotEmptyIfAskedTo) {
    Machine machine;
    machine.File(kGroupFolder + "\\Meine Verknüpfung.lnk", "x", "H");
    ExpectOutcome(
        machine.RunCopy({"no", "no"}),
        {Progress(), FolderNotEmpty(kProgramFolder, "No"), FolderNotEmpty(kGroupFolder, "No"),
         ResetQuestion(),
         Problems({NotDeleted("Das Verzeichnis", kProgramFolder),
                   NotDeleted("Das Verzeichnis", kGroupFolder)})},
        With(Without(Without(CompleteRemoval(), "- folder " + kProgramFolder), kGroupFolder),
             With(ShortcutsGone(), {"- file " + kEditor, "- file " + kOwnFile,
                                    "- file " + kGroupFolder + "\\Deinstallieren.lnk"})));
}

// Who could not be asked has not agreed.
TEST(Removal, KeepsAFolderThatCouldNotBeAskedAbout) {
    NEEDS_SETTINGS();
    Machine machine;
    machine.Setting("faults", "copy MessageBoxA 1 *=8");
    ExpectOutcome(
        machine.RunCopy({}),
        {Progress(), ResetQuestion(), Problems({NotDeleted("Das Verzeichnis", kProgramFolder)})},
        With(Without(CompleteRemoval(), "- folder " + kProgramFolder),
             {"- file " + kEditor, "- file " + kOwnFile}));
}

// A key that disappears meanwhile is gone; one whose subkeys cannot all be named is not begun.
TEST(Removal, TakesKeysThatOthersWorkOn) {
    NEEDS_SETTINGS();
    const std::string key = kHklm + kMakerKey + "\\Tessorin";
    Machine machine;
    machine.Setting("faults", "copy RegOpenKeyExA 1 " + key + "\\Registrierung:enumerate=gone");
    ExpectOutcome(machine.RunCopy({}), CopyShows(), CompleteRemoval());
    Machine half;
    half.Setting("faults", "copy RegEnumKeyA 2 " + key + "=1450");
    ExpectOutcome(half.RunCopy({}), CopyShows({NotDeleted("Der Registrierungsschlüssel", key)}),
                  Without(CompleteRemoval(), "- key HKLM\\" + kMakerKey));
}

// A look into the folder that breaks off has not shown that it is empty.
TEST(Removal, KeepsAFolderThatCannotBeReadToItsEnd) {
    NEEDS_SETTINGS();
    for (const std::string occurrence : {"1", "2"}) {
        Machine machine;
        machine.Setting("faults",
                        "copy FindNextFileA " + occurrence + " " + kProgramFolder + "\\*=21");
        EXPECT_EQ(machine.RunCopy({"no"}).shown,
                  (Lines{Progress(), ResetQuestion("No"),
                         Problems({NotDeleted("Das Verzeichnis", kProgramFolder)})}));
    }
}

TEST(Removal, DoesNotTryWhatIsReadOnly) {
    NEEDS(kKeepsReadOnly, "folders are never read-only here");
    Machine machine;
    machine.Attributes(kProgramFolder, "R").Attributes(kEditor, "RH");
    machine.Attributes(kGroupFolder + "\\Deinstallieren.lnk", "R");
    ExpectOutcome(
        machine.RunCopy({"no", "yes"}),
        {Progress(), FolderNotEmpty(kGroupFolder, "No"), ResetQuestion(),
         Problems({NotDeleted("Die Datei", kEditor), NotDeleted("Das Verzeichnis", kProgramFolder),
                   NotDeleted("Die Verknüpfung", kGroupFolder + "\\Deinstallieren.lnk"),
                   NotDeleted("Das Verzeichnis", kGroupFolder)})},
        With(Without(Without(CompleteRemoval(), "- folder " + kProgramFolder), kGroupFolder),
             With(ShortcutsGone(), {"- file " + kOwnFile})));
}

// Read-only files inside go with their folder: only the folder's own attribute counts.
TEST(Removal, FindsHiddenRemainsAndEmptyFolders) {
    Machine machine;
    machine.Remove(kProgramFolder).File(kProgramFolder + "\\nur dies.txt", "x", "RHS");
    machine.Remove(kGroupFolder).Folder(kGroupFolder);
    ExpectOutcome(machine.RunCopy({}), CopyShows(), CompleteRemoval());
}

// Blanks at the end, too: the system passes over them.
TEST(Removal, FindsItsFolderUnderAnyNameOfIt) {
    Machine machine;
    machine.Enter();
    std::string name(MAX_PATH, '\0');
    name.resize(GetShortPathNameA(FromUtf8(kProgramFolder).c_str(), name.data(), MAX_PATH));
    EXPECT_EQ(name.find(' '), std::string::npos) << name;
    for (const std::string& spelling :
         {ToUtf8(name), kProgramFolder + "   ", std::string("c:\\programme\\BÜRO tessorin\\")}) {
        Machine one;
        ExpectOutcome(one.RunCopy("/u=" + spelling, {}), CopyShows(), CompleteRemoval());
    }
}

TEST(Removal, HasNothingToSayWhenEverythingIsGoneAlready) {
    Machine machine;
    machine.RunCopy({});
    ExpectOutcome(machine.RunCopy({}), {UnknownArgument(CopyArguments())}, {});
    machine.Folder(kProgramFolder).RemoveKey(kSharedDlls);
    ExpectOutcome(machine.RunCopy({}), {Progress(), ResetQuestion(), Success()},
                  {"- folder " + kProgramFolder});
}

TEST(Removal, WaitsForAFileThatIsHeld) {
    NEEDS_SETTINGS();
    Machine machine;
    machine.HoldOpen(kEditor);
    machine.Meanwhile("copy SHFileOperationA 3 " + kEditor, [&machine] { machine.LetGo(); });
    ExpectOutcome(machine.RunCopy({}), CopyShows(), CompleteRemoval());
}

TEST(Removal, GivesAHeldFileUpAfterHalfASecond) {
    Machine machine;
    machine.HoldOpen(kEditor);
    const Outcome outcome = machine.RunCopy({});
    EXPECT_EQ(outcome.shown, CopyShows({NotDeleted("Die Datei", kEditor),
                                        NotDeleted("Das Verzeichnis", kProgramFolder)}));
    EXPECT_TRUE(machine.Look().files.contains(kEditor));
    ExpectChanges(Without(CompleteRemoval(), "- folder " + kProgramFolder),
                  Without(outcome.difference, kProgramFolder));
}

// A deletion is tried once and then every 10 ms until more than 500 ms have passed, also
// across the wrap of the tick count: 51 times for the file; the folder then goes at once.
TEST(Removal, CountsHalfASecondAcrossTheWrapOfTheClock) {
    NEEDS_SETTINGS();
    for (const std::string& start : Lines{"start=0", "start=4294967200"}) {
        SCOPED_TRACE(start);
        Machine machine;
        machine.Setting("clock", start).Setting("trace", "calls=1");
        machine.Setting("faults", "copy SHFileOperationA * " + kEditor + "=32");
        ExpectOutcome(machine.RunCopy({}), CopyShows({NotDeleted("Die Datei", kEditor)}),
                      CompleteRemoval());
        EXPECT_EQ(machine.Calls("SHFileOperationA", kEditor), 51U);

        Machine another;
        another.Setting("clock", start);
        for (int time = 1; time <= 50; ++time) {
            another.Setting(
                "faults", "copy SHFileOperationA " + std::to_string(time) + " " + kEditor + "=32");
        }
        ExpectOutcome(another.RunCopy({}), CopyShows(), CompleteRemoval());
    }
}

// Some shells walk through a link, so a folder is not theirs as long as one is in it: not in
// one whose letters the code page lacks either, which is entered by its short name.
TEST(Removal, KeepsAFolderWhoseLinksStay) {
    NEEDS_SETTINGS();
    for (const std::string& folder : Lines{"\\Hilfe", "\\Ελλάδα"}) {
        Machine machine;
        machine.Folder(kProgramFolder + folder);
        machine.Link(kProgramFolder + folder + "\\Textwerk", "C:\\Programme\\Textwerk");
        machine.Setting("faults", "copy RemoveDirectoryA * *=5");
        ExpectOutcome(machine.RunCopy({}),
                      CopyShows({NotDeleted("Das Verzeichnis", kProgramFolder)}),
                      With(Without(CompleteRemoval(), "- folder " + kProgramFolder),
                           {"- file " + kEditor, "- file " + kOwnFile}));
    }
}

// Where the volume keeps no short names nobody but the shell could look into it.
TEST(Removal, KeepsAFolderThatOnlyTheShellCanLookInto) {
    NEEDS_SETTINGS();
    Machine machine;
    machine.Folder(kProgramFolder + "\\Ελλάδα");
    machine.Link(kProgramFolder + "\\Ελλάδα\\Textwerk", "C:\\Programme\\Textwerk");
    machine.Setting("faults", "copy FindFirstFileA * " + kProgramFolder + "\\*=less");
    const Outcome outcome = machine.RunCopy({});
    EXPECT_EQ(outcome.shown, CopyShows({NotDeleted("Das Verzeichnis", kProgramFolder)}));
    EXPECT_TRUE(machine.Look().files.contains(kProgramFolder + "\\Ελλάδα\\Textwerk"));
}

// The code page has none of these letters: such a folder is entered by its short name, and both
// look alike by their long ones.
TEST(Removal, TakesNamesThatTheCodePageLacks) {
    NEEDS_SETTINGS();
    Machine machine;
    for (const std::string& folder : Lines{"\\Ελλάδα", "\\Κύπρος"}) {
        machine.File(kProgramFolder + folder + "\\Γράμμα.txt", "x", "R");
        machine.Link(kProgramFolder + folder + "\\Textwerk", "C:\\Programme\\Textwerk");
    }
    machine.File(kProgramFolder + "\\Я.txt", "x");
    ExpectOutcome(machine.RunCopy({}), CopyShows(), CompleteRemoval());
}

TEST(Removal, FallsBackToTheUsersOwnMenu) {
    NEEDS_SETTINGS();
    const std::string own =
        "C:\\Dokumente und Einstellungen\\Clara\\Startmenü\\Programme\\Tessorin";
    const Lines others = Without(CompleteRemoval(), kGroupFolder);
    Machine machine;
    machine.NoSetting("folders", "common-programs");
    ExpectOutcome(machine.RunCopy({}), CopyShows(), With(others, {"- folder " + own}));

    // Without any menu nothing may happen relative to the current folder.
    Machine without;
    without.NoSetting("folders", "common-programs").NoSetting("folders", "programs");
    without.Folder("C:\\windows\\system32\\Tessorin");
    ExpectOutcome(without.RunCopy({}), CopyShows({NotDeleted("Das Verzeichnis", "Tessorin")}),
                  others);
}

TEST(Removal, NamesTheKeysThatItMayNotTouch) {
    NEEDS_SETTINGS();
    const std::string product = "Software\\Verlonix\\Tessorin";
    const std::string uninstall =
        "Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\Tessorin";
    const std::string neighbour =
        "HKEY_USERS\\S-1-5-21-1454471165-823518204-1801674531-1001\\" + product;
    Machine machine;
    machine.Setting("faults", "copy RegDeleteKeyA * " + kHklm + uninstall + "=5");
    for (const std::string& root : Lines{kUser, "HKEY_CURRENT_USER\\"}) {
        machine.Setting("faults", "copy RegOpenKeyExA * " + root + product + ":enumerate=5");
    }
    machine.Setting("faults", "copy RegDeleteKeyA * " + neighbour + "\\Fenster=5");
    const std::string key = "Der Registrierungsschlüssel";
    ExpectOutcome(
        machine.RunCopy({}),
        // The user's own hive is met again among all hives.
        CopyShows({NotDeleted(key, "HKEY_CURRENT_USER\\" + product),
                   NotDeleted(key, kUser + product), NotDeleted(key, neighbour),
                   NotDeleted(key, kHklm + uninstall)}),
        Without(Without(Without(CompleteRemoval(), "\\Uninstall\\"), "1000\\Software\\Verlonix"),
                "1001\\Software\\Verlonix"));
}

}  // namespace
}  // namespace support
