// How a run with problems ends: the completion dialog, and the report of what nobody
// expected.
#include "tests/support/flow.h"

namespace support {
namespace {

TEST(CompletionDialog, EndsHoweverItIsClosed) {
    for (const std::string& way : Split("ok|enter|escape|alt+o|close|alt+f4")) {
        SCOPED_TRACE(way);
        const std::string left = way == "close" || way == "alt+f4" ? "close" : "click";
        Fixture fixture;
        fixture.Attributes(kEditor, "R");
        ExpectFinished(fixture.RunCopy({"yes", "yes", way}),
                       CopyShows(Problems({NotDeleted("Die Datei", kEditor)}, left)), Removal());
    }
}

TEST(CompletionDialog, ComesWithTheSystemsSound) {
    NEEDS_FAULTS();
    Fixture fixture;
    fixture.RecordCalls().Attributes(kEditor, "R").RunCopy({});
    EXPECT_EQ(fixture.Calls("MessageBeep", ""), 1U);
}

// The first check point of the copy is the fourth; in the sequence there is one.
TEST(FatalReport, NamesThePlaceThatLacksMemory) {
    NEEDS_FAULTS();
    Fixture early;
    early.Fault("copy HeapAlloc 1 *=8");
    ExpectBrokenOff(early.RunCopy({}), {Text("memory", {"1:4"})}, {});
    Fixture late;
    late.Meanwhile("copy MessageBoxA 1 *", [] {}).Fault("copy HeapAlloc 150 *=8");
    const Outcome outcome = late.RunCopy({});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.shown.back(), Text("memory", {"6:1"}));
}

// Where the drive fails in the middle of the sequence, nothing after that step is done. The
// program ends where it stands, with its window open.
TEST(FatalReport, EndsTheSequence) {
    NEEDS_FAULTS();
    for (const bool copied : {true, false}) {
        SCOPED_TRACE(copied);
        Fixture fixture;
        fixture.Fault(kUnreadyDrive);
        ExpectBrokenOff(fixture.RunCopy({copied ? "yes" : "no"}),
                        {Progress(), UnreadyDrive(copied ? "Yes" : "No")}, {});
        EXPECT_EQ(Readable(fixture.Clipboard()),
                  copied ? FatalMessage(Text("unready drive", {kEditor}), "6:1:71") + "\\n" : "");
        EXPECT_EQ(ReadBytes(fixture.HostFolder() + "/transcript.txt").find("unload"),
                  std::string::npos);
    }
    // Also where nobody can be told.
    Fixture mute;
    mute.Fault(kUnreadyDrive).Fault("copy MessageBoxA 1 *=8");
    ExpectBrokenOff(mute.RunCopy({}), {Progress()}, {});
}

// It may come when the progress window is gone: the clipboard then gets a window of its own.
TEST(FatalReport, ReachesTheClipboardWithoutAWindow) {
    NEEDS_FAULTS();
    for (const std::string control : {"lblMsg", "txtErrLog"}) {
        SCOPED_TRACE(control);
        Fixture fixture;
        fixture.Attributes(kEditor, "R").Fault("copy SetWindowTextA * " + control + "=1450");
        const Outcome outcome = fixture.RunCopy({});
        EXPECT_EQ(outcome.status, 1);
        ASSERT_EQ(outcome.shown.size(), 4U);
        fixture.Enter();
        EXPECT_EQ(outcome.shown[3],
                  Fatal(Description("Fehler beim Zugriff auf Pfad/Datei", "frmUnInstDone", 1450),
                        "6:1:75", "Yes"));
        EXPECT_NE(fixture.Clipboard(), "");
    }
}

}  // namespace
}  // namespace support
