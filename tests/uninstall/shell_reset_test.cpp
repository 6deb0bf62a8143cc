// The reset of the shell's settings: only what still points at the product.
#include "tests/support/flow.h"

namespace support {
namespace {

const std::string kInternetExplorer = "Software\\Microsoft\\Internet Explorer\\";
const std::string kHtmlEditor = kUser + kInternetExplorer + "Default HTML Editor";
const std::string kSharedEditor = kUser + "Software\\Microsoft\\Shared\\HTML\\Default Editor";

TEST(ShellReset, LeavesWhatOthersHaveTakenOver) {
    const std::string textwerk = R"("C:\\Programme\\Textwerk\\Textwerk.exe %1")";
    Fixture fixture;
    fixture.Value(kClasses + "*\\Shell", "", R"("Textwerk")");
    fixture.Value(kClasses + "Unknown\\Shell", "", R"("Tessorin2")");
    fixture.Value(kClasses + "*\\DefaultIcon", "", R"("Shell32.dll,0")");
    fixture.Value(kHtmlEditor + "\\shell\\edit\\command", "", textwerk);
    fixture.Value(kSharedEditor + "\\shell\\edit\\command", "",
                  R"("C:\\Programme\\Büro Tessorin\\Tessorin.exe %1")");
    fixture.Value(kHklm + kInternetExplorer + "View Source Editor\\Editor Name", "",
                  R"("C:\\Programme\\Büro Tessorin\\Tessorin.exe")");
    fixture.Value(kClasses + "htmlfile\\shell\\edit\\command", "", textwerk);
    ExpectFinished(fixture.RunCopy({}), CopyShows(Success()),
                   Removal().Keeps(Lines{"*\\Shell\\@", "Unknown\\Shell\\@", "*\\DefaultIcon",
                                         "Default HTML Editor", "Default Editor",
                                         "View Source Editor", "htmlfile"}));
}

TEST(ShellReset, PassesOverWhatIsMissing) {
    Fixture fixture;
    for (const std::string& gone : Lines{"*", "Unknown", ".htm", "htmlfile", "Tessorin.Text"}) {
        fixture.RemoveKey(kClasses + gone);
    }
    fixture.RemoveKey(kHtmlEditor).RemoveKey(kSharedEditor);
    fixture.RemoveKey(kHklm + kInternetExplorer + "View Source Editor");
    ExpectFinished(fixture.RunCopy({}), CopyShows(Success()),
                   Removal().Keeps(Lines{"\\*\\", "Unknown", ".htm", "htmlfile", "Tessorin.Text",
                                         "Internet Explorer", "Default Editor"}));
}

// Also where nothing was left to change.
TEST(ShellReset, TellsTheShellAfterEachReset) {
    NEEDS_FAULTS();
    Fixture fixture;
    fixture.RecordCalls();
    ExpectFinished(fixture.RunCopy({}), CopyShows(Success()), Removal());
    EXPECT_EQ(fixture.Calls("SHChangeNotify", ""), 1U);
    fixture.Folder(kProgramFolder).RemoveKey(kSharedDlls);
    ExpectFinished(fixture.RunCopy({}), {Progress(), ResetQuestion(), Success()},
                   {"- folder " + kProgramFolder});
    EXPECT_EQ(fixture.Calls("SHChangeNotify", ""), 2U);
}

TEST(ShellReset, NamesWhatItMayNotWrite) {
    NEEDS_FAULTS();
    const std::string root = "HKEY_CLASSES_ROOT\\";
    const std::string verb = "\\Shell\\open\\command";
    Fixture fixture;
    for (const std::string& key : Lines{"Unknown\\Shell", "*\\DefaultIcon", "Tessorin.Text" + verb,
                                        "tessorin.TEXT" + verb}) {
        fixture.Fault("copy RegOpenKeyExA * " + root + key + ":set=5");
    }
    const auto value = [&](const std::string& key, const std::string& what) {
        return "Der Registrierungswert (Standard) im Schlüssel \"" + root + key +
               "\" konnte nicht " + what + " werden.";
    };
    // Writing fails for each of the extensions that share the type, as they name it.
    ExpectFinished(
        fixture.RunCopy({}),
        CopyShows(
            Problems({NotDeleted("Der Registrierungsschlüssel", root + "Unknown\\Shell\\Tessorin"),
                      value("Unknown\\Shell", "geschrieben"), value("*\\DefaultIcon", "gelöscht"),
                      value("Tessorin.Text" + verb, "geschrieben"),
                      value("tessorin.TEXT" + verb, "geschrieben")})),
        Removal()
            .Keeps(Lines{"Unknown\\Shell", "*\\DefaultIcon", "Tessorin.Text\\Shell\\open"})
            .Also("- key HKLM\\Software\\Classes\\Unknown\\Shell\\Tessorin\\command"));
}

TEST(ShellReset, EndsQuietlyWhereTheTypesCannotBeListed) {
    NEEDS_FAULTS();
    Fixture fixture;
    fixture.Fault("copy RegOpenKeyExA * HKEY_CLASSES_ROOT:enumerate=5");
    ExpectFinished(fixture.RunCopy({}), CopyShows(Success()), Removal().Keeps("Notepad"));
}

const std::string kStarShell = "HKEY_CLASSES_ROOT\\*\\Shell";
const std::string kUnreadable = "copy RegOpenKeyExA * " + kStarShell + ":query=5";

std::string ReadReport(const std::string& answer, const std::string& key) {
    return Text("unread", {answer, key}) + Text("abort") + Text("ignore");
}

TEST(ShellReset, ReportsAReadThatIsRefused) {
    NEEDS_FAULTS();
    const Lines before{Progress(), FolderNotEmpty(kProgramFolder), ResetQuestion()};
    const Removal unread = Removal().Keeps("*\\Shell\\@");
    Fixture ignored;
    ignored.Fault(kUnreadable);
    ExpectFinished(ignored.RunCopy({"yes", "yes", "retry", "retry", "ignore"}),
                   before + Lines{ReadReport("Retry", kStarShell), ReadReport("Retry", kStarShell),
                                  ReadReport("Ignore", kStarShell), Success()},
                   unread);
    // A report that cannot be shown is passed over, not asked again and again.
    Fixture mute;
    mute.Fault(kUnreadable).Fault("copy MessageBoxA 3 *=8");
    ExpectFinished(mute.RunCopy({}), before + Lines{Success()}, unread);
    // Whose an editor is must be known as well.
    Fixture editor;
    const std::string key =
        "HKEY_CURRENT_USER\\" + kInternetExplorer + "Default HTML Editor\\shell\\edit\\command";
    editor.Fault("copy RegOpenKeyExA * " + key + ":query=5");
    ExpectFinished(editor.RunCopy({"yes", "yes", "ignore"}),
                   before + Lines{ReadReport("Ignore", key), Success()},
                   Removal().Keeps("Default HTML Editor"));
    // Abort: whatever comes after it is not done, the uninstall entry above all.
    Fixture aborted;
    aborted.Fault(kUnreadable);
    ExpectBrokenOff(aborted.RunCopy({"yes", "yes", "abort"}),
                    before + Lines{ReadReport("Abort", kStarShell)},
                    Removal()
                        .WithoutReset()
                        .Keeps("\\Uninstall\\")
                        .Also("- key HKLM\\Software\\Classes\\*\\Shell\\Tessorin"));
    EXPECT_EQ(ReadBytes(aborted.HostFolder() + "/transcript.txt").find("unload"),
              std::string::npos);
}

}  // namespace
}  // namespace support
