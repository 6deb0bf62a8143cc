// The run is killed before or after each call that changes something, in each of its three
// processes. Then everything is whole, and a second start finishes the removal: the state
// is that of a run which nobody interrupted.
//
// Normally a selection of the copy's many changes runs; UNINSTALL_MATRIX=full runs all.
#include <algorithm>
#include <iostream>
#include <map>

#include "tests/faults/calls.h"
#include "tests/faults/verdict.h"
#include "tests/faults/workers.h"

namespace support {
namespace {

const std::string kUninstaller = kProgramFolder + "\\UnInstall.exe";
const std::string kScript = kTempFolder + "\\UnInstall.bat";
const std::string kCopy = kTempFolder + "\\UnInstall.exe";
const std::string kEntry =
    kHklm + "Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\Tessorin";
const std::string kCount = "C:\\windows\\system32\\Msvbvm60.dll";

struct Kill {
    CallMade call;
    bool after = false;
    bool scriptAsWell = false;  // as when the power fails: nobody tidies up behind the copy

    [[nodiscard]] std::string Text() const {
        return call.role + " " + call.function + " " + std::to_string(call.number) +
               (after ? "=kill-after" : "=kill-before") + (scriptAsWell ? ", script killed" : "");
    }
};

// How the second start is made.
enum class Way { NotNeeded, FromFolder, ByHand };

class Interruption {
 public:
    Interruption(const Kill& kill, const Baseline& baseline) : kill_(kill), baseline_(baseline) {}

    // What is wrong, a line each.
    Lines Run() {
        Interrupt();
        ExpectWhole();
        Way way = Way::NotNeeded;
        if (!LeftOver(baseline_, interrupted_).empty()) {
            way = interrupted_.files.contains(kUninstaller) ? Way::FromFolder : Way::ByHand;
            Restart(way);
        }
        ExpectFinished(way);
        return std::move(wrong_);
    }

 private:
    void Interrupt() {
        const std::string site =
            kill_.call.role + " " + kill_.call.function + " " + std::to_string(kill_.call.number);
        machine_.Setting("trace", "calls=1");
        machine_.Setting("faults", site + (kill_.after ? "=kill-after" : "=kill-before"));
        if (kill_.scriptAsWell) {
            machine_.Setting("faults", "script DeleteFileA 2=kill-before");
        }
        machine_.RunFirst({});
        machine_.NoSetting("faults", site).NoSetting("faults", "script DeleteFileA 2");
        interrupted_ = machine_.Look();  // throws if the registry cannot be read
    }

    void ExpectWhole() {
        std::vector<CallMade> calls = CallsMade(machine_);
        std::erase_if(calls, [&](const CallMade& call) { return call.role != kill_.call.role; });
        const bool reached = std::any_of(calls.begin(), calls.end(), [&](const CallMade& call) {
            return call.function == kill_.call.function && call.number == kill_.call.number;
        });
        const bool ended = !calls.empty() && calls.back().function == "ExitProcess";
        if (reached != kill_.after || ended) {
            wrong_.emplace_back("was not killed there");
        }
        for (const Item& item : Foreign(baseline_, interrupted_)) {
            wrong_.push_back("damaged: " + item.Text());
        }
        // It is what the user starts the uninstaller with again.
        if (!LeftOver(baseline_, interrupted_).empty() && !interrupted_.keys.contains(kEntry)) {
            wrong_.emplace_back("the entry among the installed programs is gone too early");
        }
    }

    void Restart(Way way) {
        Outcome outcome;
        if (way == Way::FromFolder) {
            outcome = machine_.RunFirst({});
        } else {
            machine_.Folder(kProgramFolder);
            if (!interrupted_.files.contains(kCopy)) {
                machine_.Program(kCopy);  // from the installation medium
            }
            outcome = machine_.Run(kCopy, CopyArguments(), {});
        }
        if (std::find(outcome.shown.begin(), outcome.shown.end(), Success()) ==
                outcome.shown.end() ||
            !outcome.errors.empty()) {
            wrong_.push_back("the second start said: " +
                             (outcome.shown.empty() ? "nothing" : outcome.shown.back()) +
                             outcome.errors);
        }
    }

    // The files of the hand-over that have to be deleted by hand.
    [[nodiscard]] Lines Rest(Way way) const {
        if (way == Way::FromFolder) {
            return {};  // the second script has taken them along
        }
        if (way == Way::ByHand) {
            return kill_.scriptAsWell ? Lines{kScript, kCopy} : Lines{kCopy};
        }
        // The copy has done its work; its script has not, or only in part.
        if (kill_.scriptAsWell) {
            return {kScript, kCopy};
        }
        const std::map<std::string, Lines> rests{
            {"script CreateProcessA 1=kill-after", {kScript, kCopy}},
            {"script DeleteFileA 2=kill-before", {kScript, kCopy}},
            {"script DeleteFileA 2=kill-after", {kScript}},
            {"script DeleteFileA 3=kill-before", {kScript}},
        };
        const auto found = rests.find(kill_.Text());
        return found == rests.end() ? Lines{} : found->second;
    }

    // What a second start cannot know any more, as lines of a difference.
    [[nodiscard]] Lines Forgotten(Way way) const {
        Lines lines;
        // Whose claim a count has lost already: each run gives up one.
        const auto count = interrupted_.keys.at(kSharedDlls).find(kCount);
        if (way != Way::NotNeeded && count->second == "dword:00000004") {
            lines.push_back(
                R"(~ value HKLM\Software\Microsoft\Windows\CurrentVersion\SharedDLLs\)" + kCount +
                ": dword:00000004 -> dword:00000003");
        }
        // Whose a browser's editor was: the command that told it goes first, the empty keys
        // above it last.
        for (const std::string& editor :
             Lines{R"(Internet Explorer\Default HTML Editor)", R"(Shared\HTML\Default Editor)"}) {
            const std::string shell = R"(Software\Microsoft\)" + editor + R"(\shell)";
            for (const std::string& key : Lines{shell, shell + R"(\edit)"}) {
                if (interrupted_.keys.contains(kUser + key) &&
                    !interrupted_.keys.contains(kUser + shell + R"(\edit\command)")) {
                    lines.push_back("+ key HKU" + kUser.substr(kUser.find('\\')) + key);
                }
            }
        }
        return lines;
    }

    void ExpectFinished(Way way) {
        Lines expected = Forgotten(way);
        for (const std::string& path : Rest(way)) {
            expected.push_back("+ file " + path);
        }
        Lines actual = Difference(baseline_.complete, machine_.Look());
        std::sort(expected.begin(), expected.end());
        std::sort(actual.begin(), actual.end());
        if (const std::string mismatch = Mismatch(expected, actual); !mismatch.empty()) {
            wrong_.push_back("not finished:" + mismatch);
        }
    }

    const Kill& kill_;
    const Baseline& baseline_;
    Machine machine_;
    State interrupted_;
    Lines wrong_;
};

std::vector<CallMade> Changes() {
    Machine machine;
    machine.Setting("trace", "calls=1");
    machine.RunFirst({});
    std::vector<CallMade> calls = CallsMade(machine);
    std::erase_if(calls, [](const CallMade& call) { return !call.changes; });
    return calls;
}

std::vector<Kill> Kills(const std::vector<CallMade>& changes) {
    const bool whole = WholeMatrix();
    std::map<CallSite, unsigned> last;
    for (const CallMade& call : changes) {
        last[{call.role, call.function}] = call.number;
    }
    std::vector<Kill> kills;
    std::size_t turn = 0;
    for (const CallMade& call : changes) {
        if (call.role != "copy") {
            kills.push_back({call, false, false});
            kills.push_back({call, true, false});
        } else if (whole) {
            for (const bool after : {false, true}) {
                kills.push_back({call, after, false});
                kills.push_back({call, after, true});
            }
        } else if (++turn % 3 == 0 || call.number == 1 ||
                   call.number == last[{call.role, call.function}]) {
            kills.push_back({call, turn % 2 == 0, turn % 4 < 2});
        }
    }
    return kills;
}

TEST(Interruption, IsFinishedByASecondStart) {
    const Baseline baseline = TakeBaseline();
    const std::vector<CallMade> changes = Changes();
    const std::vector<Kill> kills = Kills(changes);
    const std::vector<std::string> results = RunInParallel(kills.size(), [&](std::size_t index) {
        std::string text;
        for (const std::string& line : Interruption(kills[index], baseline).Run()) {
            text += line + "\n";
        }
        return text;
    });
    std::map<std::string, unsigned> counts;
    for (std::size_t i = 0; i < kills.size(); ++i) {
        ++counts[kills[i].call.role];
        EXPECT_EQ(results[i], "") << kills[i].Text();
    }
    std::cout << changes.size() << " changes, " << kills.size() << " interruptions:";
    for (const auto& [role, count] : counts) {
        std::cout << " " << count << " in " << role;
    }
    std::cout << "\n";
}

}  // namespace
}  // namespace support
