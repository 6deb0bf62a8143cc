// Folders whose names are unusual: given to the copy, or where the first run works.
#include "tests/support/flow.h"

namespace support {
namespace {

// The folder fits; a file in it may not, and the look for it raises in the midst of a step.
TEST(Folders, AreTooLongWhenTheirFilesAre) {
    for (const std::size_t length : {245U, 248U, 259U}) {
        SCOPED_TRACE(length);
        const std::string folder =
            "C:\\" + std::string(120, 'x') + "\\" + std::string(length - 124, 'y');
        Fixture fixture;
        fixture.Folder(folder);
        const Outcome outcome = fixture.RunCopy("/u=" + folder, {"no"});
        if (length == 245) {
            ExpectFinished(outcome, {Progress(), ResetQuestion("No"), Success()},
                           Removal().From(folder));
            continue;
        }
        fixture.Enter();
        const std::string reason =
            Description("Dateiname falsch", folder + "\\Tessorin.exe", ERROR_FILENAME_EXCED_RANGE);
        ExpectBrokenOff(outcome, {Progress(), Fatal(reason, "6:1:52", "No")}, {});
    }
}

// "ž" has no place in a path that is given, but a short form may lead to it.
TEST(Folders, MayHaveLettersThatAPathMayNotHave) {
    const std::string folder = "C:\\Programme\\Tessorin auf ž";
    Fixture fixture;
    fixture.Folder(folder).File(folder + "\\Tessorin.exe", "x");
    fixture.File(folder + "\\Brief.txt", "x").Enter();
    const std::string ansi = "C:\\Programme\\Tessorin auf \x9E";
    std::string shortForm(MAX_PATH, '\0');
    shortForm.resize(GetShortPathNameA(ansi.c_str(), shortForm.data(), MAX_PATH));
    ASSERT_EQ(shortForm.find('\x9E'), std::string::npos) << shortForm;
    ExpectFinished(fixture.RunCopy("/u=" + shortForm, {"yes", "no"}),
                   {Progress(), FolderNotEmpty(folder), ResetQuestion("No"), Success()},
                   Removal().From(folder));
}

// What cannot be named, or is named only in part, is no folder of ours.
TEST(Folders, MustBeNamedInFull) {
    NEEDS_FAULTS();
    Fixture fixture;
    fixture.Folder("C:\\Programme\\Ελλάδα").File("C:\\Büro Tessorin\\Tessorin.exe", "x");
    for (const std::string& arguments : Lines{"/u=C:\\Programme\\~1", CopyArguments()}) {
        SCOPED_TRACE(arguments);
        const Outcome outcome = fixture.RunCopy(arguments, {"no"});
        fixture.Enter();
        ExpectBrokenOff(
            outcome,
            {Fatal(Description("Pfad nicht gefunden", arguments.substr(3), ERROR_PATH_NOT_FOUND),
                   "1:4:76", "No")},
            {});
        fixture.Fault("copy FindFirstFileA 1 C:\\Programme=2");
    }
}

// An older record below such a temporary folder goes like any other. (The script names the
// folder in letters that the interpreter reads as others: its files stay.)
TEST(Folders, AnOlderRecordIsReplacedWhereverItLies) {
    NEEDS_FAULTS();
    const std::string file = "C:\\windows\\Temp ž\\UnInstall.";
    Fixture fixture;
    fixture.Setting("folders", "temp=C:\\windows\\Temp ž").File(file + "pif", "older");
    ExpectFinished(fixture.RunFirst({}), RunShows(Success()),
                   Removal().Also({"+ file " + file + "bat", "+ file " + file + "exe",
                                   "~ file " + file + "pif: 5 bytes -> 967 bytes"}));
}

// Nobody's program folder goes without the user's consent.
TEST(Folders, AreTrustedOnlyWithTheUsersConsent) {
    for (const std::string& folder : Lines{"C:\\windows", "C:\\windows\\system32"}) {
        SCOPED_TRACE(folder);
        Fixture fixture;
        ExpectFinished(fixture.RunCopy("/u=" + folder, {"no", "no"}),
                       {Progress(), FolderNotEmpty(folder, "No"), ResetQuestion("No"),
                        Problems({NotDeleted("Das Verzeichnis", folder)})},
                       Removal().WithoutReset().Keeps(kProgramFolder));
    }
}

// A drive's root cannot be deleted: nobody is asked, nothing is tried, nothing is waited for.
TEST(Folders, ADrivesRootStaysWithoutAQuestion) {
    NEEDS_FAULTS();  // and another drive
    for (const std::string& file : Lines{"D:\\Brief.txt", ""}) {
        SCOPED_TRACE(file);
        Fixture fixture;
        fixture.RecordCalls().Program("D:\\UnInstall.exe");
        if (!file.empty()) {
            fixture.File(file, "x");
        }
        ExpectFinished(
            fixture.Run("D:\\UnInstall.exe", "", {"yes", "no"}),
            {Confirmation(), Progress(), ResetQuestion("No"),
             Problems({NotDeleted("Das Verzeichnis", "D:\\")})},
            Removal().WithoutReset().Keeps(kProgramFolder).Also("- file D:\\UnInstall.exe"));
        EXPECT_EQ(fixture.Calls("SHFileOperationA", "D:\\"), 0U);
    }
}

}  // namespace
}  // namespace support
