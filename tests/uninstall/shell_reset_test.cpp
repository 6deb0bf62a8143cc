// The reset of the shell's settings: only what still points at the product.
#include "tests/support/flow.h"

namespace support {
namespace {

const std::string kInternetExplorer = "Software\\Microsoft\\Internet Explorer\\";
const std::string kHtmlEditor = kUser + kInternetExplorer + "Default HTML Editor";
const std::string kSharedEditor = kUser + "Software\\Microsoft\\Shared\\HTML\\Default Editor";

TEST(ShellReset, LeavesWhatOthersHaveTakenOver) {
    const std::string textwerk = R"("C:\\Programme\\Textwerk\\Textwerk.exe %1")";
    Machine machine;
    machine.Value(kClasses + "*\\Shell", "", R"("Textwerk")");
    machine.Value(kClasses + "Unknown\\Shell", "", R"("Tessorin2")");
    machine.Value(kClasses + "*\\DefaultIcon", "", R"("Shell32.dll,0")");
    machine.Value(kHtmlEditor + "\\shell\\edit\\command", "", textwerk);
    machine.Value(kSharedEditor + "\\shell\\edit\\command", "",
                  R"("C:\\Programme\\Büro Tessorin\\Tessorin.exe %1")");
    machine.Value(kHklm + kInternetExplorer + "View Source Editor\\Editor Name", "",
                  R"("C:\\Programme\\Büro Tessorin\\Tessorin.exe")");
    machine.Value(kClasses + "htmlfile\\shell\\edit\\command", "", textwerk);
    Lines expected = CompleteRemoval();
    for (const std::string& kept :
         Lines{"*\\Shell\\@", "Unknown\\Shell\\@", "*\\DefaultIcon", "Default HTML Editor",
               "Default Editor", "View Source Editor", "htmlfile"}) {
        expected = Without(expected, kept);
    }
    ExpectOutcome(machine.RunCopy({}), CopyShows(), expected);
}

TEST(ShellReset, PassesOverWhatIsMissing) {
    Machine machine;
    for (const std::string& gone : Lines{"*", "Unknown", ".htm", "htmlfile", "Tessorin.Text"}) {
        machine.RemoveKey(kClasses + gone);
    }
    machine.RemoveKey(kHtmlEditor).RemoveKey(kSharedEditor);
    machine.RemoveKey(kHklm + kInternetExplorer + "View Source Editor");
    Lines expected = WithoutReset();
    for (const std::string& line : ShellReset()) {
        if (line.find("Tessorin.Vorlage") != std::string::npos ||
            line.find("Notiz") != std::string::npos) {
            expected = With(expected, {line});
        }
    }
    ExpectOutcome(machine.RunCopy({}), CopyShows(), expected);
}

// The classes root shows the user's keys and values over the machine's; both are ours.
TEST(ShellReset, ReachesBothHalvesOfTheClassesRoot) {
    NEEDS(kMergesClasses, "the classes root is the machine's alone here");
    const std::string own = kUser + "Software\\Classes\\*\\Shell";
    const std::string name = "HKU" + own.substr(own.find('\\'));
    Machine machine;
    machine.Key(own + "\\Tessorin\\command").Key(own + "\\Textwerk");
    machine.Value(own, "", "\"Tessorin\"");
    ExpectOutcome(
        machine.RunCopy({}), CopyShows(),
        With(CompleteRemoval(), {"- key " + name + "\\Tessorin", "- value " + name + "\\@"}));
}

// A second run has nothing left to change.
TEST(ShellReset, TellsTheShellOnceIfSomethingHasChanged) {
    NEEDS_SETTINGS();
    Machine machine;
    machine.Setting("trace", "calls=1");
    ExpectOutcome(machine.RunCopy({}), CopyShows(), CompleteRemoval());
    EXPECT_EQ(machine.Calls("SHChangeNotify", ""), 1U);
    machine.Folder(kProgramFolder).RemoveKey(kSharedDlls);
    ExpectOutcome(machine.RunCopy({}), {Progress(), ResetQuestion(), Success()},
                  {"- folder " + kProgramFolder});
    EXPECT_EQ(machine.Calls("SHChangeNotify", ""), 1U);
}

TEST(ShellReset, NamesWhatItMayNotWrite) {
    NEEDS_SETTINGS();
    Machine machine;
    for (const std::string& key :
         Lines{"Tessorin.Text\\Shell\\open\\command", "tessorin.TEXT\\Shell\\open\\command",
               "Unknown\\Shell", "*\\DefaultIcon"}) {
        machine.Setting("faults", "copy RegOpenKeyExA * HKEY_CLASSES_ROOT\\" + key + ":set=5");
    }
    const std::string value =
        "Der Registrierungswert (Standard) im Schlüssel \"HKEY_CLASSES_ROOT\\";
    Lines expected = CompleteRemoval();
    for (const std::string& kept :
         Lines{"Unknown\\Shell", "*\\DefaultIcon", "Tessorin.Text\\Shell\\open"}) {
        expected = Without(expected, kept);
    }
    expected = With(expected, {"- key HKLM\\Software\\Classes\\Unknown\\Shell\\Tessorin\\command"});
    // Writing fails for each of the extensions that share the type, as they name it.
    const std::string verb = "\\Shell\\open\\command\" konnte nicht geschrieben werden.";
    ExpectOutcome(
        machine.RunCopy({}),
        CopyShows({"Der Registrierungsschlüssel \"HKEY_CLASSES_ROOT\\Unknown\\Shell\\Tessorin\" "
                   "konnte nicht gelöscht werden.",
                   value + "Unknown\\Shell\" konnte nicht geschrieben werden.",
                   value + "*\\DefaultIcon\" konnte nicht gelöscht werden.",
                   value + "Tessorin.Text" + verb, value + "tessorin.TEXT" + verb}),
        expected);
}

TEST(ShellReset, EndsQuietlyWhereTheTypesCannotBeListed) {
    NEEDS_SETTINGS();
    Machine machine;
    machine.Setting("faults", "copy RegOpenKeyExA * HKEY_CLASSES_ROOT:enumerate=5");
    ExpectOutcome(machine.RunCopy({}), CopyShows(), Without(CompleteRemoval(), "Notepad"));
}

std::string ReadReport(const std::string& answer,
                       const std::string& key = "HKEY_CLASSES_ROOT\\*\\Shell") {
    return Text("unread", {answer, key}) + Text("abort") + Text("ignore");
}

const std::string kUnreadable = "copy RegOpenKeyExA * HKEY_CLASSES_ROOT\\*\\Shell:query=5";

TEST(ShellReset, ReportsAReadThatIsRefused) {
    NEEDS_SETTINGS();
    const Lines before{Progress(), FolderNotEmpty(kProgramFolder), ResetQuestion()};
    Machine ignored;
    ignored.Setting("faults", kUnreadable);
    Lines expected = Without(CompleteRemoval(), "*\\Shell\\@");
    ExpectOutcome(
        ignored.RunCopy({"yes", "yes", "retry", "retry", "ignore"}),
        With(before, {ReadReport("Retry"), ReadReport("Retry"), ReadReport("Ignore"), Success()}),
        expected);
    // A report that cannot be shown is passed over, not asked again and again.
    Machine mute;
    mute.Setting("faults", kUnreadable).Setting("faults", "copy MessageBoxA 3 *=8");
    ExpectOutcome(mute.RunCopy({}), With(before, {Success()}), expected);
    // Whose an editor is must be known as well.
    Machine editor;
    const std::string command = "\\shell\\edit\\command";
    const std::string key =
        "HKEY_CURRENT_USER\\" + kInternetExplorer + "Default HTML Editor" + command;
    editor.Setting("faults", "copy RegOpenKeyExA * " + key + ":query=5");
    EXPECT_EQ(editor.RunCopy({"yes", "yes", "ignore"}).shown,
              With(before, {ReadReport("Ignore", key), Success()}));
    // Abort: whatever comes behind it is not done, the uninstall entry above all.
    Machine aborted;
    aborted.Setting("faults", kUnreadable);
    expected = Without(CompleteRemoval(), Without(ShellReset(), "*\\Shell\\Tessorin"));
    ExpectOutcome(aborted.RunCopy({"yes", "yes", "abort"}), With(before, {ReadReport("Abort")}),
                  Without(expected, "\\Uninstall\\"), 1);
    EXPECT_EQ(ReadBytes(aborted.HostFolder() + "/transcript.txt").find("unload"),
              std::string::npos);
}

}  // namespace
}  // namespace support
