// The run is killed before or after each call that changes something, in each of its three
// processes. Then everything is whole, and a second start finishes the removal: the state is
// that of a run which nobody interrupted.
#include <algorithm>
#include <regex>
#include <set>

#include "tests/faults/judge.h"

namespace support {
namespace {

const std::string kCopy = kTempFolder + "\\UnInstall.exe";
const std::string kUninstaller = kProgramFolder + "\\UnInstall.exe";
const std::string kEntry =
    kHklm + "Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\Tessorin";

// What a second start cannot know any more: whose claim a count has lost already, because each
// run gives up one, and whose a browser's editor was, because the command that told it goes
// first and the empty keys above it last.
constexpr const char* kForgotten = R"(~ value .*\\Msvbvm60.dll: dword:00000004 -> dword:00000003|)"
                                   R"(\+ key HKU.*\\Default (HTML )?Editor\\shell(\\edit)?)";

struct Kill {
    Call call;
    bool after;
    bool scriptAsWell;  // as when the power fails: nobody tidies up behind the copy
};

class Interruption : public testing::TestWithParam<unsigned> {
 protected:
    // Gives the state in which the run was interrupted.
    static State Interrupt(Machine& machine, const Kill& kill, const Baseline& baseline) {
        const std::string site = kill.call.Site("1");
        const std::string script = "script DeleteFileA 1 " + kCopy;
        machine.Setting("trace", "calls=1");
        machine.Setting("faults", site + (kill.after ? "=kill-after" : "=kill-before"));
        if (kill.scriptAsWell) {
            machine.Setting("faults", script + "=kill-before");
        }
        machine.RunFirst({});
        machine.NoSetting("faults", site).NoSetting("faults", script);
        std::set<std::string> calls;
        for (const Call& call : CallsMade(machine)) {
            calls.insert(call.role == kill.call.role ? call.Address() : "");
        }
        EXPECT_EQ(calls.contains(kill.call.Address()), kill.after) << "was not killed there";
        EXPECT_FALSE(calls.contains(kill.call.role + " ExitProcess ")) << "went on";
        State state = machine.Look();  // throws if the registry cannot be read
        const Things things = ThingsOf(state);
        EXPECT_TRUE(Same({}, Foreign(baseline, things)));
        // It is what the user starts the uninstaller with again.
        EXPECT_TRUE(things.contains(kEntry) || LeftOver(baseline, things).empty());
        return state;
    }

    // Gives the files that have to be deleted by hand.
    static Lines Finish(Machine& machine, const State& state, const Baseline& baseline) {
        const Lines files{"+ file " + kTempFolder + "\\UnInstall.bat", "+ file " + kCopy};
        if (LeftOver(baseline, ThingsOf(state)).empty()) {
            return files;
        }
        const bool byHand = !state.files.contains(kUninstaller);
        if (byHand) {
            machine.Folder(kProgramFolder).Program(kCopy);
        }
        const Outcome outcome =
            byHand ? machine.Run(kCopy, CopyArguments(), {}) : machine.RunFirst({});
        EXPECT_EQ(outcome.errors, "");
        EXPECT_FALSE(outcome.shown.empty() || outcome.shown.back() != Success());
        return byHand ? files : Lines{};  // else the second script has taken them along
    }
};

TEST_P(Interruption, IsFinishedByASecondStart) {
    const BaseRun run = RunScenario(Scenarios().front());
    Machine finished;
    finished.RunFirst({});
    const State complete = finished.Look();
    std::vector<Kill> kills;
    std::set<std::string> seen;
    for (const Call& call : run.calls) {
        if (call.changes && seen.insert(call.Address()).second) {
            for (const bool after : {false, true}) {
                kills.push_back({call, after, false});
                if (call.role == "copy" && (WholeMatrix() || kills.size() % 3 == 0)) {
                    kills.push_back({call, after, true});
                }
            }
        }
    }
    ASSERT_GT(kills.size(), 100U);
    for (std::size_t i = GetParam(); i < kills.size(); i += kParts) {
        SCOPED_TRACE((kills[i].after ? "after " : "before ") + kills[i].call.Address());
        Machine machine;
        const State state = Interrupt(machine, kills[i], run.baseline);
        const Lines left = Finish(machine, state, run.baseline);
        for (const std::string& line : Difference(complete, machine.Look())) {
            EXPECT_TRUE(std::find(left.begin(), left.end(), line) != left.end() ||
                        std::regex_match(line, std::regex(kForgotten)))
                << "not finished: " << line;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Part, Interruption, testing::Range(0U, kParts));

}  // namespace
}  // namespace support
