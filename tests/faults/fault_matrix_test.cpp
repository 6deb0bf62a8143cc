// Every platform call of a whole run fails: first run, script, copy, reset of the shell's
// settings. Whatever fails, with whatever code, the rules of verdict.h hold.
//
// Normally a selection runs: of each function in each process the first, the last and some
// calls in between, and all of them for good. UNINSTALL_MATRIX=full runs every call with
// every code that its function can give.
#include <algorithm>
#include <iomanip>
#include <iostream>
#include <map>
#include <set>
#include <sstream>

#include "tests/faults/calls.h"
#include "tests/faults/verdict.h"
#include "tests/faults/workers.h"

namespace support {
namespace {

// The codes that a function can give on a sound machine at the moment when the program
// calls it. Those that say "not there" are none of a failure: they would be answers, and
// wrong ones. No code: the function cannot fail.
const std::map<std::string, std::vector<unsigned>>& Codes() {
    static const std::map<std::string, std::vector<unsigned>> codes{
        {"CloseClipboard", {1418}},
        {"CloseHandle", {6}},
        {"CopyFileA", {5, 32, 112, 21}},
        {"CreateFileA", {5, 32, 112, 3, 123}},
        {"CreateProcessA", {5, 2, 8, 740}},
        {"CreateWindowExA", {8, 1158}},
        {"DeleteFileA", {5, 32, 21}},
        {"EmptyClipboard", {5}},
        {"ExitProcess", {}},
        {"FindClose", {6}},
        {"FindFirstFileA", {5, 21, 8, 123}},
        {"FindNextFileA", {5, 21, 8}},
        {"FindResourceA", {1813, 1814}},
        {"FormatMessageA", {8, 317}},
        {"GetCommandLineA", {}},
        {"GetCurrentDirectoryA", {8}},
        {"GetFileAttributesA", {5, 32, 21}},
        {"GetModuleFileNameA", {8}},
        {"GetShortPathNameA", {3, 5, 87}},
        {"GetSystemDirectoryA", {8}},
        {"GetTempPathA", {8}},
        {"GetTickCount", {}},
        {"GetWindowsDirectoryA", {8}},
        {"GlobalAlloc", {8}},
        {"GlobalFree", {6}},
        {"GlobalLock", {8}},
        {"GlobalUnlock", {}},
        {"LoadResource", {1812}},
        {"LockResource", {8}},
        {"MessageBeep", {5}},
        {"MessageBoxA", {8}},
        {"OpenClipboard", {5}},
        {"OpenFile", {32, 5, 21}},
        {"ReadFile", {5, 8, 21}},
        {"RegCloseKey", {6}},
        {"RegDeleteKeyA", {5, 1018, 1450}},
        {"RegDeleteValueA", {5, 1450}},
        {"RegEnumKeyA", {8, 234, 1450}},
        {"RegOpenKeyExA", {5, 8, 1450}},
        {"RegQueryValueExA", {5, 8, 234, 1450}},
        {"RegSetValueExA", {5, 8, 1450}},
        {"RemoveDirectoryA", {5, 32, 145}},
        {"SHFileOperationA", {5, 32, 87, 120}},
        {"SHGetPathFromIDListA", {87}},
        {"SHGetSpecialFolderLocation", {2, 87}},
        {"SetClipboardData", {8}},
        {"SetCurrentDirectoryA", {3, 5, 21}},
        {"SetEnvironmentVariableA", {8}},
        {"SetWindowTextA", {8}},
        {"SizeofResource", {87}},
        {"Sleep", {}},
        {"WriteFile", {112, 5, 21}},
    };
    return codes;
}

// What may stay, or happen, without a word, and why.
struct Silence {
    const char* role;
    const char* functions;  // those whose failure it comes from
    bool (*covers)(const Item& item, const State& after, const Baseline& baseline);
    const char* reason;
};

bool IsHiveOfOthers(const Item& item) {
    return item.kind == Item::Kind::Key && item.place.starts_with("HKEY_USERS\\") &&
           !item.place.starts_with(kUser) && item.place.find("\\" + kMakerKey) != std::string::npos;
}

const std::string kOwnGroup =
    "C:\\Dokumente und Einstellungen\\Clara\\Startmenü\\Programme\\Tessorin";

const std::vector<Silence>& Silences() {
    static const std::vector<Silence> silences{
        {"copy", "RegOpenKeyExA RegEnumKeyA",
         [](const Item& item, const State&, const Baseline&) {
             return item.kind == Item::Kind::Key && item.place.ends_with("\\" + kMakerKey);
         },
         "the maker's key, empty: it goes only when it can be seen to be empty"},
        {"copy", "RegOpenKeyExA RegEnumKeyA",
         [](const Item& item, const State& after, const Baseline& baseline) {
             const std::vector<Item> left = LeftOver(baseline, after);
             const std::vector<Item> all = LeftOver(baseline, baseline.before);
             return IsHiveOfOthers(item) &&
                    std::count_if(left.begin(), left.end(), IsHiveOfOthers) ==
                        std::count_if(all.begin(), all.end(), IsHiveOfOthers);
         },
         "all other users' settings: without the list of hives nobody knows whose there are"},
        {"copy", "RegOpenKeyExA RegEnumKeyA RegQueryValueExA",
         [](const Item& item, const State&, const Baseline&) {
             return item.kind == Item::Kind::Value && item.place.ends_with("\\command");
         },
         "a verb's command: most file types are not ours, and those that cannot be read none of "
         "our business"},
        {"copy", "SHGetSpecialFolderLocation SHGetPathFromIDListA",
         [](const Item& item, const State&, const Baseline&) {
             return item.place.starts_with(kGroupFolder) || item.place.starts_with(kOwnGroup);
         },
         "the group of all users: without their menu the group is the one in the user's own"},
        {"copy", "MessageBoxA",
         [](const Item& item, const State&, const Baseline&) { return IsShellSetting(item); },
         "the shell's settings: a question that cannot be shown counts as No"},
        {"first", "MessageBoxA",
         [](const Item&, const State& after, const Baseline& baseline) {
             return Difference(baseline.before, after).empty();
         },
         "everything: a confirmation that cannot be shown counts as No, and nothing is touched"},
        {"first", "CloseHandle",
         [](const Item& item, const State&, const Baseline&) {
             return item.place == kTempFolder + "\\UnInstall.pif";
         },
         "the record: still open in the first run, it cannot be deleted by the script"},
        {"script", "DeleteFileA",
         [](const Item& item, const State&, const Baseline&) {
             const Lines files = HandOverFiles();
             return std::find(files.begin(), files.end(), item.place) != files.end();
         },
         "files of the hand-over: the interpreter that cannot delete them has no window"},
    };
    return silences;
}

// ---- the runs --------------------------------------------------------------------------

// What a machine needs for the calls that a smooth run does not make.
struct Scenario {
    const char* name;
    void (*stage)(Machine& machine);
};

constexpr Scenario kScenarios[] = {
    {"smooth", [](Machine&) {}},
    {"link and problem",
     [](Machine& machine) {
         machine.Link(kProgramFolder + "\\Hilfe\\Textwerk", "C:\\Programme\\Textwerk");
         machine.Attributes(kGroupFolder + "\\Tessorin.lnk", "R");
     }},
    {"fatal report",
     [](Machine& machine) {
         // The two looks for the editor's file.
         machine.Setting("faults", "copy FindFirstFileA 4=21");
         machine.Setting("faults", "copy FindFirstFileA 5=21");
     }},
};

struct Fault {
    const Scenario* scenario;
    CallSite site;
    unsigned call;  // 0: every one
    unsigned code;
    bool stubborn;  // the user passes over what is reported, or ends

    [[nodiscard]] std::string Setting() const {
        return site.role + " " + site.function + " " + (call == 0 ? "*" : std::to_string(call)) +
               "=" + std::to_string(code);
    }
    [[nodiscard]] std::string Text() const {
        return Setting() + (stubborn ? ", passed over" : "") + " (" + scenario->name + ")";
    }
    // A reported failure that lasts has no end unless the user makes one.
    [[nodiscard]] Lines Answers() const {
        if (!stubborn) {
            return {};
        }
        Lines answers(40, site.function == "OpenFile" ? "cancel" : "ignore");
        answers.front() = "yes";
        return answers;
    }
};

void Prepare(Machine& machine, const Scenario& scenario) {
    machine.Setting("clock", "virtual=1").Setting("trace", "calls=1");
    scenario.stage(machine);
}

struct CallCount {
    const Scenario* scenario;
    unsigned calls;
};

// How often each process calls each function, in the first scenario in which it does.
std::map<CallSite, CallCount> CountCalls() {
    std::map<CallSite, CallCount> counts;
    for (const Scenario& scenario : kScenarios) {
        Machine machine;
        Prepare(machine, scenario);
        machine.RunFirst({});
        for (const CallMade& call : CallsMade(machine)) {
            CallCount& count =
                counts.try_emplace({call.role, call.function}, CallCount{&scenario, 0})
                    .first->second;
            count.calls += count.scenario == &scenario ? 1 : 0;
        }
    }
    return counts;
}

// The calls of a site that are to fail.
std::vector<unsigned> Selected(const CallSite& site, unsigned calls) {
    // The program's files are compared block by block: one of many blocks is like another.
    const bool some = site.function == "ReadFile";
    const unsigned few = WholeMatrix() ? calls : 6;
    std::set<unsigned> selected{1, calls};
    for (unsigned call = 1; !some && calls <= few && call <= calls; ++call) {
        selected.insert(call);
    }
    for (unsigned part = 1; part < 4; ++part) {
        selected.insert(std::max(1U, calls * part / 4));
    }
    return {selected.begin(), selected.end()};
}

// In turn the user takes the defaults and passes over what is reported.
void AddSelected(const CallSite& site, const CallCount& count, const std::vector<unsigned>& codes,
                 std::vector<Fault>& faults) {
    std::size_t turn = 0;
    for (const unsigned call : Selected(site, count.calls)) {
        for (std::size_t i = 0; i < codes.size(); ++i) {
            if (WholeMatrix() || call == 1 || i == turn % codes.size()) {
                faults.push_back({count.scenario, site, call, codes[i], (turn + i) % 2 == 1});
            }
        }
        ++turn;
    }
}

std::vector<Fault> Faults(const std::map<CallSite, CallCount>& counts) {
    std::vector<Fault> faults;
    for (const auto& [site, count] : counts) {
        const auto known = Codes().find(site.function);
        if (known == Codes().end()) {
            ADD_FAILURE() << "which codes can " << site.function << " give?";
            continue;
        }
        for (const unsigned code : known->second) {
            faults.push_back({count.scenario, site, 0, code, true});
            if (!WholeMatrix()) {
                break;
            }
        }
        if (!known->second.empty()) {
            AddSelected(site, count, known->second, faults);
        }
    }
    return faults;
}

// ---- the rules -------------------------------------------------------------------------

enum class End { AsEver, Listed, Ended, Silent };
constexpr const char* kEnds[] = {"as ever", "listed", "ended", "silent"};

struct Judgement {
    End end = End::AsEver;
    Lines violations;
    std::set<std::size_t> silences;  // that were needed
};

class Judge {
 public:
    Judge(const Fault& fault, const Baseline& baseline, const Outcome& outcome,
          const Machine& machine)
        : fault_(fault),
          baseline_(baseline),
          outcome_(outcome),
          told_(WhatWasTold(outcome)),
          after_(machine.Look()),
          calls_(CallsMade(machine)) {}

    Judgement Finish() {
        Process();
        ForeignThings();
        OneEnd();
        Remains();
        HandOver();
        const bool ended = told_.ended || InterpreterEnded();
        result_.end = !result_.silences.empty() ? End::Silent
                      : told_.problems          ? End::Listed
                      : ended                   ? End::Ended
                                                : End::AsEver;
        Consequences();
        return std::move(result_);
    }

 private:
    void Violation(const std::string& text) { result_.violations.push_back(text); }

    // It was really refused, and the program ended by itself.
    void Process() {
        const auto refused = std::count_if(calls_.begin(), calls_.end(), [&](const CallMade& call) {
            return call.role == fault_.site.role && call.function == fault_.site.function &&
                   (fault_.call == 0 || call.number == fault_.call) && call.result == fault_.code;
        });
        if (refused == 0) {
            Violation("nothing was refused");
        }
        if (outcome_.status != 0 && outcome_.status != 1) {
            Violation("exit status " + std::to_string(outcome_.status));
        }
        for (const std::string& line : told_.unexpected) {
            Violation("shown: " + line);
        }
    }

    void ForeignThings() {
        for (const Item& item : Foreign(baseline_, after_)) {
            if (!IsSilence(item)) {
                Violation("foreign, but changed: " + item.Text());
            }
        }
    }

    [[nodiscard]] bool InterpreterEnded() const { return told_.interpreter.starts_with("start"); }

    void OneEnd() {
        const int ends =
            int{told_.success} + int{told_.problems} + int{told_.ended} + int{InterpreterEnded()};
        const bool cannotShow = fault_.site.function == "MessageBoxA";
        if (ends > 1 || (ends == 0 && !cannotShow)) {
            Violation("the user was told " + std::to_string(ends) + " endings");
        }
    }

    void Remains() {
        for (const Item& item : LeftOver(baseline_, after_)) {
            const bool isTold = IsNamed(item, told_) || told_.ended || InterpreterEnded() ||
                                (told_.keptShell && IsShellSetting(item)) ||
                                IsMakerKeyInUse(item, after_);
            if (!isTold && !IsSilence(item)) {
                Violation("left without a word: " + item.Text());
            }
        }
    }

    // Where the script has run, nothing is left in the temporary folder.
    void HandOver() {
        const bool scriptRan = std::any_of(calls_.begin(), calls_.end(), [](const CallMade& call) {
            return call.role == "script";
        });
        for (const std::string& path : HandOverFiles()) {
            const Item item{Item::Kind::File, path, {}};
            if (after_.files.contains(path) && (scriptRan || !told_.ended) && !IsSilence(item)) {
                Violation("left in the temporary folder: " + path);
            }
        }
    }

    // The first run hands over nothing that it could not make, or make safe.
    void Consequences() {
        const std::set<std::string> harmless{
            "CloseHandle", "FindClose",
            "FindFirstFileA",  // for an older record, which then stands in the way
            "OpenFile",        // tried again
        };
        if (fault_.site.role == "first" && result_.end == End::AsEver &&
            !harmless.contains(fault_.site.function)) {
            Violation("went on as if nothing had happened");
        }
    }

    bool IsSilence(const Item& item) {
        const std::vector<Silence>& silences = Silences();
        for (std::size_t i = 0; i < silences.size(); ++i) {
            const Silence& silence = silences[i];
            if (fault_.site.role == silence.role &&
                std::string(silence.functions).find(fault_.site.function) != std::string::npos &&
                silence.covers(item, after_, baseline_)) {
                result_.silences.insert(i);
                return true;
            }
        }
        return false;
    }

    const Fault& fault_;
    const Baseline& baseline_;
    const Outcome& outcome_;
    Told told_;
    State after_;
    std::vector<CallMade> calls_;
    Judgement result_;
};

// A judgement on its way between two processes.
std::string Pack(const Judgement& judgement) {
    std::string text = std::to_string(static_cast<int>(judgement.end));
    for (const std::size_t silence : judgement.silences) {
        text += " " + std::to_string(silence);
    }
    for (const std::string& violation : judgement.violations) {
        text += "\n" + violation;
    }
    return text;
}

Judgement Unpack(const std::string& text) {
    std::istringstream lines(text);
    std::string line;
    std::getline(lines, line);
    Judgement judgement;
    std::istringstream numbers(line);
    int end = -1;
    if (numbers >> end) {
        judgement.end = static_cast<End>(end);
    } else {
        judgement.violations.push_back(line);
    }
    for (std::size_t silence = 0; numbers >> silence;) {
        judgement.silences.insert(silence);
    }
    while (std::getline(lines, line)) {
        judgement.violations.push_back(line);
    }
    return judgement;
}

// The state before differs from scenario to scenario, that after a complete removal not.
std::string RunFault(const Fault& fault, Baseline baseline) {
    Machine machine;
    Prepare(machine, *fault.scenario);
    machine.Setting("faults", fault.Setting());
    baseline.before = machine.Look();
    const Outcome outcome = machine.RunFirst(fault.Answers());
    return Pack(Judge(fault, baseline, outcome, machine).Finish());
}

// ---- the table -------------------------------------------------------------------------

struct Row {
    unsigned calls = 0, cases = 0, violations = 0;
    unsigned ends[std::size(kEnds)] = {};
};

void PrintTable(const std::map<CallSite, Row>& rows) {
    Row sum;
    std::cout << std::left << std::setw(7) << "in" << std::setw(28) << "call" << std::right
              << std::setw(6) << "calls" << std::setw(7) << "cases";
    for (const char* const end : kEnds) {
        std::cout << std::setw(9) << end;
    }
    std::cout << "  broken  codes\n";
    for (const auto& [site, row] : rows) {
        std::cout << std::left << std::setw(7) << site.role << std::setw(28) << site.function
                  << std::right << std::setw(6) << row.calls << std::setw(7) << row.cases;
        for (std::size_t i = 0; i < std::size(kEnds); ++i) {
            std::cout << std::setw(9) << row.ends[i];
            sum.ends[i] += row.ends[i];
        }
        std::cout << std::setw(8) << row.violations << " ";
        for (const unsigned code : Codes().at(site.function)) {
            std::cout << " " << code;
        }
        std::cout << (Codes().at(site.function).empty() ? " cannot fail\n" : "\n");
        sum.calls += row.calls;
        sum.cases += row.cases;
        sum.violations += row.violations;
    }
    std::cout << std::left << std::setw(35) << "all" << std::right << std::setw(6) << sum.calls
              << std::setw(7) << sum.cases;
    for (const unsigned count : sum.ends) {
        std::cout << std::setw(9) << count;
    }
    std::cout << std::setw(8) << sum.violations << "\n";
}

TEST(FaultMatrix, WhateverFailsHarmsNothingAndIsTold) {
    const Baseline baseline = TakeBaseline();
    const std::map<CallSite, CallCount> counts = CountCalls();
    const std::vector<Fault> faults = Faults(counts);
    ASSERT_FALSE(HasFailure());
    const std::vector<std::string> results = RunInParallel(
        faults.size(), [&](std::size_t index) { return RunFault(faults[index], baseline); });
    std::map<CallSite, Row> rows;
    for (const auto& [site, count] : counts) {
        rows[site].calls = count.calls;
    }
    std::vector<unsigned> needed(Silences().size());
    for (std::size_t i = 0; i < faults.size(); ++i) {
        const Judgement judgement = Unpack(results[i]);
        Row& row = rows[faults[i].site];
        ++row.cases;
        ++row.ends[static_cast<std::size_t>(judgement.end)];
        row.violations += judgement.violations.empty() ? 0 : 1;
        for (const std::size_t silence : judgement.silences) {
            ++needed.at(silence);
        }
        for (const std::string& violation : judgement.violations) {
            ADD_FAILURE() << faults[i].Text() << ": " << violation;
        }
    }
    PrintTable(rows);
    for (std::size_t i = 0; i < needed.size(); ++i) {
        std::cout << "silent in " << needed[i] << " cases: " << Silences()[i].reason << "\n";
        if (WholeMatrix()) {
            EXPECT_NE(needed[i], 0U) << "nobody needs the exception: " << Silences()[i].reason;
        }
    }
}

}  // namespace
}  // namespace support
