// The run is killed before or after each call that changes something, in each of its three
// processes. Then everything is whole, and a second start finishes the removal: the state is
// that of a run which nobody interrupted.
#include <set>

#include "tests/faults/judge.h"

namespace support {
namespace {

const std::string kEntry =
    kHklm + "Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\Tessorin";

// What a second start cannot know any more: whose claim a count has lost already, because each
// run gives up one, and whose a browser's editor was, because the command that told it goes
// first and the empty keys above it last.
constexpr const char* kForgotten =
    "*\\Msvbvm60.dll|*\\Default* Editor\\shell|*\\Default* Editor\\shell\\edit";

// With the script, as when the power fails: nobody tidies up after the copy.
void Interrupt(Fixture& fixture, const Call& call, const std::string& kill, bool withScript) {
    const std::string site = call.Site("1");
    const std::string script = "script DeleteFileA 1 " + kCopy;
    fixture.RecordCalls().Fault(site + "=" + kill);
    if (withScript) {
        fixture.Fault(script + "=kill-before");
    }
    fixture.RunFirst({});
    fixture.NoSetting("faults", site).NoSetting("faults", script);
    std::set<std::string> calls;
    for (const Call& made : fixture.CallsMade()) {
        calls.insert(made.Address());
    }
    EXPECT_EQ(calls.contains(call.Address()), kill == "kill-after") << "not killed there";
    EXPECT_FALSE(calls.contains(call.role + " ExitProcess ")) << "went on";
}

void StartAgain(Fixture& fixture, bool fromFolder) {
    if (!fromFolder) {
        fixture.Folder(kProgramFolder).Program(kCopy);
    }
    const Outcome outcome =
        fromFolder ? fixture.RunFirst({}) : fixture.Run(kCopy, CopyArguments(), {});
    EXPECT_EQ(outcome.errors, "");
    EXPECT_FALSE(outcome.shown.empty() || outcome.shown.back() != Success());
    for (const std::string& path : kHandOverFiles) {
        EXPECT_TRUE(!fromFolder || fixture.Content(path).empty()) << path;
    }
}

void ExpectFinishedByASecondStart(const BaseRun& run, const Call& call, const std::string& kill,
                                  bool withScript) {
    SCOPED_TRACE(kill + " " + call.Address());
    Fixture fixture;
    Interrupt(fixture, call, kill, withScript);
    const Things broken = ThingsOf(fixture.Look());  // throws if it cannot be read
    EXPECT_EQ(Foreign(run.baseline, broken), Lines{});
    if (!LeftOver(run.baseline, broken).empty()) {
        // It is what the user starts the uninstaller with again.
        EXPECT_TRUE(broken.contains(kEntry));
        StartAgain(fixture, broken.contains(kOwnFile));
    }
    const Things& complete = run.baseline.complete;
    Lines wrong = Foreign({complete, complete}, ThingsOf(fixture.Look()));
    std::erase_if(wrong, [](const auto& thing) { return Matches(thing, kForgotten); });
    EXPECT_EQ(wrong, Lines{}) << "is not finished";
}

TEST(Interruption, IsFinishedByASecondStart) {
    const BaseRun run = RunScenario(Scenarios().front());
    std::set<std::string> seen;
    bool withScript = false;
    for (const Call& call : run.calls) {
        if (call.changes && seen.insert(call.Address()).second) {
            withScript = !withScript && call.role == "copy";
            ExpectFinishedByASecondStart(run, call, "kill-before", withScript);
            ExpectFinishedByASecondStart(run, call, "kill-after", withScript);
        }
    }
    EXPECT_GT(seen.size(), 40U);
}

}  // namespace
}  // namespace support
