// The run is killed before or after each call that changes something, in each of its three
// processes. Then everything is whole, and a second start finishes the removal: the state is
// that of a run which nobody interrupted.
#include <regex>
#include <set>

#include "tests/faults/judge.h"

namespace support {
namespace {

const std::string kEntry =
    kHklm + "Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\Tessorin";

// What a second start cannot know any more: whose claim a count has lost already, because each
// run gives up one, and whose a browser's editor was, because the command that told it goes
// first and the empty keys above it last.
const std::regex kForgotten(R"(.*\\Msvbvm60.dll|.*\\Default (HTML )?Editor\\shell(\\edit)?)");

// Each change in the whole run, by what it is about.
std::vector<Fault> Kills(const std::vector<Call>& calls) {
    std::vector<Fault> kills;
    std::set<std::string> seen;
    for (const Call& call : calls) {
        if (call.changes && seen.insert(call.Address()).second) {
            kills.push_back({call, "kill-before"});
            kills.push_back({call, "kill-after"});
        }
    }
    return kills;
}

// With the script, as when the power fails: nobody tidies up behind the copy.
void Interrupt(Machine& machine, const Fault& kill, bool withScript) {
    const std::string site = kill.call.Site("1");
    const std::string script = "script DeleteFileA 1 " + kCopy;
    machine.Setting("trace", "calls=1").Setting("faults", site + "=" + kill.what);
    if (withScript) {
        machine.Setting("faults", script + "=kill-before");
    }
    machine.RunFirst({});
    machine.NoSetting("faults", site).NoSetting("faults", script);
    std::set<std::string> calls;
    for (const Call& call : machine.CallsMade()) {
        calls.insert(call.Address());
    }
    EXPECT_EQ(calls.contains(kill.call.Address()), kill.what == "kill-after") << "not killed there";
    EXPECT_FALSE(calls.contains(kill.call.role + " ExitProcess ")) << "went on";
}

void StartAgain(Machine& machine, bool fromFolder) {
    if (!fromFolder) {
        machine.Folder(kProgramFolder).Program(kCopy);
    }
    const Outcome outcome =
        fromFolder ? machine.RunFirst({}) : machine.Run(kCopy, CopyArguments(), {});
    EXPECT_EQ(outcome.errors, "");
    EXPECT_FALSE(outcome.shown.empty() || outcome.shown.back() != Success());
    for (const std::string& path : kHandOverFiles) {
        EXPECT_TRUE(!fromFolder || machine.Content(path).empty()) << path;
    }
}

class Interruption : public testing::TestWithParam<unsigned> {};

TEST_P(Interruption, IsFinishedByASecondStart) {
    const BaseRun run = RunScenario(Scenarios().front());
    const Things& complete = run.baseline.complete;
    const std::vector<Fault> kills = Kills(run.calls);
    ASSERT_GT(kills.size(), 100U);
    for (std::size_t i = GetParam(); i < kills.size(); i += kParts) {
        SCOPED_TRACE(kills[i].what + " " + kills[i].call.Address());
        Machine machine;
        Interrupt(machine, kills[i], kills[i].call.role == "copy" && i / 2 % 2 == 0);
        const Things broken = ThingsOf(machine.Look());  // throws if it cannot be read
        EXPECT_EQ(Foreign(run.baseline, broken), Lines{});
        if (!LeftOver(run.baseline, broken).empty()) {
            // It is what the user starts the uninstaller with again.
            EXPECT_TRUE(broken.contains(kEntry));
            StartAgain(machine, broken.contains(kOwnFile));
        }
        Lines wrong = Foreign({complete, complete}, ThingsOf(machine.Look()));
        std::erase_if(wrong, [](const auto& thing) { return regex_match(thing, kForgotten); });
        EXPECT_EQ(wrong, Lines{}) << "is not finished";
    }
}

INSTANTIATE_TEST_SUITE_P(Part, Interruption, testing::Range(0U, kParts));

}  // namespace
}  // namespace support
