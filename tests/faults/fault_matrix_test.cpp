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

#include "tests/faults/judge.h"
#include "tests/faults/workers.h"

namespace support {
namespace {

// The codes that a function can give on a sound machine at the moment when the program
// calls it. Those that say "not there" are none of a failure: they would be answers, and
// wrong ones. No code: the function cannot fail.
const std::map<std::string, std::vector<unsigned>>& Codes() {
    static const std::map<std::string, std::vector<unsigned>> codes{
        {"AllowSetForegroundWindow", {5}},
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

struct Case {
    const Scenario* scenario;
    Fault fault;
    bool stubborn;  // the user passes over what is reported, or ends

    [[nodiscard]] std::string Setting() const {
        return fault.site.role + " " + fault.site.function + " " +
               (fault.call == 0 ? "*" : std::to_string(fault.call)) + "=" +
               std::to_string(fault.code);
    }
    [[nodiscard]] std::string Text() const {
        return Setting() + (stubborn ? ", passed over" : "") + " (" + scenario->name + ")";
    }
    // A reported failure that lasts has no end unless the user makes one.
    [[nodiscard]] Lines Answers() const {
        if (!stubborn) {
            return {};
        }
        Lines answers(40, fault.site.function == "OpenFile" ? "cancel" : "ignore");
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
                 std::vector<Case>& cases) {
    std::size_t turn = 0;
    for (const unsigned call : Selected(site, count.calls)) {
        for (std::size_t i = 0; i < codes.size(); ++i) {
            if (WholeMatrix() || call == 1 || i == turn % codes.size()) {
                cases.push_back({count.scenario, {site, call, codes[i]}, (turn + i) % 2 == 1});
            }
        }
        ++turn;
    }
}

std::vector<Case> Cases(const std::map<CallSite, CallCount>& counts) {
    std::vector<Case> cases;
    for (const auto& [site, count] : counts) {
        const auto known = Codes().find(site.function);
        if (known == Codes().end()) {
            ADD_FAILURE() << "which codes can " << site.function << " give?";
            continue;
        }
        for (const unsigned code : known->second) {
            cases.push_back({count.scenario, {site, 0, code}, true});
            if (!WholeMatrix()) {
                break;
            }
        }
        if (!known->second.empty()) {
            AddSelected(site, count, known->second, cases);
        }
    }
    return cases;
}

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
std::string RunCase(const Case& one, Baseline baseline) {
    Machine machine;
    Prepare(machine, *one.scenario);
    machine.Setting("faults", one.Setting());
    baseline.before = machine.Look();
    const Outcome outcome = machine.RunFirst(one.Answers());
    return Pack(JudgeRun(one.fault, baseline, outcome, machine));
}

// ---- the table -------------------------------------------------------------------------

constexpr const char* kEnds[] = {"as ever", "listed", "ended", "silent"};  // by End

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
    const std::vector<Case> cases = Cases(counts);
    ASSERT_FALSE(HasFailure());
    const std::vector<std::string> results = RunInParallel(
        cases.size(), [&](std::size_t index) { return RunCase(cases[index], baseline); });
    std::map<CallSite, Row> rows;
    for (const auto& [site, count] : counts) {
        rows[site].calls = count.calls;
    }
    const std::vector<SilenceReason> silences = Silences();
    std::vector<unsigned> needed(silences.size());
    for (std::size_t i = 0; i < cases.size(); ++i) {
        const Judgement judgement = Unpack(results[i]);
        Row& row = rows[cases[i].fault.site];
        ++row.cases;
        ++row.ends[static_cast<std::size_t>(judgement.end)];
        row.violations += judgement.violations.empty() ? 0 : 1;
        for (const std::size_t silence : judgement.silences) {
            ++needed.at(silence);
        }
        for (const std::string& violation : judgement.violations) {
            ADD_FAILURE() << cases[i].Text() << ": " << violation;
        }
    }
    PrintTable(rows);
    for (std::size_t i = 0; i < needed.size(); ++i) {
        std::cout << "silent in " << needed[i] << " cases: " << silences[i].text << "\n";
        if (WholeMatrix() && !silences[i].byChance) {
            EXPECT_NE(needed[i], 0U) << "nobody needs the exception: " << silences[i].text;
        }
    }
}

}  // namespace
}  // namespace support
