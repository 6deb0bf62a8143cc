// How a run with problems ends: the completion dialog, and the report of what nobody
// expected.
#include "tests/support/flow.h"

namespace support {
namespace {

const std::string kTessorin = kProgramFolder + "\\Tessorin.exe";

TEST(CompletionDialog, EndsHoweverItIsClosed) {
    for (const std::string& way : Lines{"ok", "enter", "escape", "alt+o", "close", "alt+f4"}) {
        SCOPED_TRACE(way);
        Machine machine;
        machine.Attributes(kTessorin, "R");
        ExpectOutcome(machine.RunCopy({"yes", "yes", way}),
                      {Progress(), FolderNotEmpty(kProgramFolder), ResetQuestion(),
                       Problems({"Die Datei \"" + kTessorin + "\" konnte nicht gelöscht werden."},
                                way == "close" || way == "alt+f4" ? "close" : "click")},
                      CompleteRemoval());
    }
}

TEST(CompletionDialog, ShowsEveryLineOfALongList) {
    NEEDS_SETTINGS();
    // One line for each hive whose key is refused.
    Machine machine;
    Lines problems;
    Lines expected = CompleteRemoval();
    for (int i = 0; i < 300; ++i) {
        const std::string key =
            "HKEY_USERS\\S-1-5-21-9" + std::to_string(1000 + i) + "\\Software\\Verlonix\\Tessorin";
        machine.Key(key).Setting("denied", key + "=delete");
        problems.push_back("Der Registrierungsschlüssel \"" + key +
                           "\" konnte nicht gelöscht werden.");
    }
    ExpectOutcome(machine.RunCopy({}),
                  {Progress(), FolderNotEmpty(kProgramFolder), ResetQuestion(), Problems(problems)},
                  expected);
}

// Where the drive fails in the middle of the sequence, nothing behind that step is done.
TEST(FatalReport, EndsTheSequence) {
    NEEDS_SETTINGS();
    for (const std::string& answer : Lines{"yes", "no"}) {
        SCOPED_TRACE(answer);
        Machine machine;
        // Both looks for the editor's file: in the wait, and the last one that decides.
        machine.Setting("faults", "copy FindFirstFileA * " + kTessorin + "=21");
        const std::string message =
            FatalMessage("Datenträger nicht bereit: \"" + kTessorin +
                             "\"\\n\\t\\n\\tDas Gerät ist nicht bereit. (Fehlercode 21)",
                         "6:1:71");
        const Outcome outcome = machine.RunCopy({answer});
        ExpectOutcome(outcome, {Progress(), Fatal(message, answer == "yes" ? "Yes" : "No")}, {}, 1);
        EXPECT_EQ(machine.Clipboard(), answer == "yes" ? Unescaped(message) + "\r\n" : "");
    }
}

// The folder fits, a file in it does not: the look for it raises in the midst of a step.
TEST(FatalReport, EndsTheSequenceWithoutAnyHelp) {
    Machine machine;
    const std::string folder = "C:\\" + std::string(120, 'x') + "\\" + std::string(126, 'y');
    machine.Folder(folder);
    const Outcome outcome = machine.RunCopy("/u=" + folder, {"no"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_TRUE(SameChanges({}, outcome.difference));
    ASSERT_EQ(outcome.shown.size(), 2U);
    EXPECT_NE(outcome.shown[1].find("\"UnInstaller:2:0:33:6:1:52\""), std::string::npos)
        << outcome.shown[1];
}

}  // namespace
}  // namespace support
