// How a run with problems ends: the completion dialog, and the report of what nobody
// expected.
#include "tests/support/flow.h"

namespace support {
namespace {

TEST(CompletionDialog, EndsHoweverItIsClosed) {
    for (const std::string& way : Split("ok|enter|escape|alt+o|close|alt+f4")) {
        SCOPED_TRACE(way);
        Machine machine;
        machine.Attributes(kEditor, "R");
        ExpectOutcome(machine.RunCopy({"yes", "yes", way}),
                      {Progress(), FolderNotEmpty(kProgramFolder), ResetQuestion(),
                       Problems({NotDeleted("Die Datei", kEditor)},
                                way == "close" || way == "alt+f4" ? "close" : "click")},
                      CompleteRemoval());
    }
}

TEST(CompletionDialog, ComesWithTheSystemsSound) {
    NEEDS_SETTINGS();
    Machine machine;
    machine.Setting("trace", "calls=1").Attributes(kEditor, "R").RunCopy({});
    EXPECT_EQ(machine.Calls("MessageBeep", ""), 1U);
}

TEST(FatalReport, NamesThePlaceThatLacksMemory) {
    NEEDS_SETTINGS();
    Machine machine;
    machine.Setting("faults", "copy HeapAlloc 200 *=8");
    const Outcome outcome = machine.RunCopy({});
    ASSERT_FALSE(outcome.shown.empty());
    EXPECT_EQ(outcome.shown.back(), Text("memory", {"6:1"}));
}

// Nor is there any for the report itself, which needs none.
TEST(FatalReport, IsGivenAlsoWhereMemoryEndsInIt) {
    NEEDS_SETTINGS();
    Machine whole;
    whole.Setting("trace", "calls=1").Setting("faults", kUnreadyDrive).RunCopy({});
    // The failure is met and described twice; the first time another look follows, which needs
    // one piece of memory, the second time the report.
    std::vector<unsigned> pieces;
    bool described = false;
    for (const Call& call : whole.CallsMade()) {
        if (call.function == "FormatMessageA") {
            described = true;
            pieces.push_back(0);
        } else if (call.function == "FindFirstFileA") {
            described = false;
        } else if (described && call.function == "HeapAlloc") {
            ++pieces.back();
        }
    }
    ASSERT_GT(pieces.size(), 1U);
    EXPECT_LT(pieces.back(), pieces[pieces.size() - 2]);
    const unsigned all = whole.Calls("HeapAlloc", "");
    ASSERT_GT(all, 20U);
    for (unsigned last = all; last > all - 20; --last) {
        SCOPED_TRACE(last);
        Machine machine;
        machine.Setting("faults", kUnreadyDrive);
        for (const unsigned refused : {last, last + 1}) {
            machine.Setting("faults", "copy HeapAlloc " + std::to_string(refused) + " *=8");
        }
        const Outcome outcome = machine.RunCopy({});
        EXPECT_EQ(outcome.status, 1);
        ExpectChanges({}, outcome.difference);
        EXPECT_TRUE(!outcome.shown.empty() && outcome.shown.back().starts_with("[x] "));
    }
}

// Where the drive fails in the middle of the sequence, nothing behind that step is done. The
// program ends where it stands, with its window open.
TEST(FatalReport, EndsTheSequence) {
    NEEDS_SETTINGS();
    const std::string message = UnreadyDrive();
    for (const bool copied : {true, false}) {
        SCOPED_TRACE(copied);
        Machine machine;
        machine.Setting("faults", kUnreadyDrive);
        ExpectOutcome(machine.RunCopy({copied ? "yes" : "no"}),
                      {Progress(), Fatal(message, copied ? "Yes" : "No")}, {}, 1);
        EXPECT_EQ(Readable(machine.Clipboard()), copied ? message + "\\n" : "");
        EXPECT_EQ(ReadBytes(machine.HostFolder() + "/transcript.txt").find("unload"),
                  std::string::npos);
    }
    // Also where nobody can be told.
    Machine mute;
    mute.Setting("faults", kUnreadyDrive);
    mute.Setting("faults", "copy MessageBoxA 1 *=8");
    ExpectOutcome(mute.RunCopy({}), {Progress()}, {}, 1);
}

// It may come when the progress window is gone: the clipboard belongs to the hidden window,
// and to nobody where that cannot be made.
TEST(FatalReport, ReachesTheClipboardWithoutAWindow) {
    NEEDS_SETTINGS();
    for (const std::string control : {"lblMsg", "txtErrLog"}) {
        const bool refused = control == "txtErrLog";
        SCOPED_TRACE(control);
        Machine machine;
        machine.Attributes(kEditor, "R");
        machine.Setting("faults", "copy SetWindowTextA * " + control + "=1450");
        if (refused) {
            machine.Setting("faults", "copy CreateWindowExA * owner=8");
        }
        const Outcome outcome = machine.RunCopy({});
        EXPECT_EQ(outcome.status, 1);
        ASSERT_EQ(outcome.shown.size(), 4U);
        EXPECT_NE(outcome.shown[3].find("(Fehlercode 1450)"), std::string::npos);
        EXPECT_EQ(machine.Clipboard().empty(), refused);
    }
}

}  // namespace
}  // namespace support
