// Every platform call of the base runs goes wrong, named by process, function and argument:
// the first one, the last one, and all of them for good. Whatever goes wrong, and however, the
// rules of judge.h hold.
//
// Normally each case has one of the ways in which its function can go wrong, chosen by the
// call's name; UNINSTALL_MATRIX=1 takes all of them.
#include <cstdlib>
#include <set>
#include <sstream>

#include "tests/faults/judge.h"

namespace support {
namespace {

// What can go wrong on a sound machine at the moment when the program makes the call. The codes
// that say "not there" are none of a failure: they would be answers, and wrong ones. "less" is
// success with less than was asked for; "gone": what the call is about disappears before it.
const std::pair<const char*, const char*> kWays[] = {
    {"AllowSetForegroundWindow CloseClipboard EmptyClipboard MessageBeep OpenClipboard", "5"},
    {"CloseHandle FindClose GlobalFree RegCloseKey", "6"},
    {"CopyFileA", "5 32 112 21 gone"},
    {"CreateFileA", "5 32 112 3 123 gone"},
    {"CreateProcessA", "5 2 8 740 gone"},
    {"CreateWindowExA FormatMessageA GetCurrentDirectoryA GetModuleFileNameA GlobalAlloc "
     "GlobalLock LoadResource LockResource MessageBoxA SetClipboardData SetEnvironmentVariableA "
     "SetWindowTextA",
     "8"},
    {"DeleteFileA GetFileAttributesA OpenFile SetFileAttributesA", "5 32 21 gone"},
    {"FindFirstFileA", "5 21 8 123 gone"},
    {"FindNextFileA", "5 21 8"},
    {"FindResourceA", "1813 1814"},
    {"GetShortPathNameA", "3 5 87 less gone"},
    {"GetSystemDirectoryA GetTempPathA GetWindowsDirectoryA", "8 less"},
    {"ReadFile", "5 8 21 less"},
    {"RegDeleteKeyA RegDeleteValueA RegOpenKeyExA RegSetValueExA", "5 8 1018 1450 gone"},
    {"RegEnumKeyA RegQueryValueExA", "5 8 234 1450 gone"},
    {"RemoveDirectoryA", "5 32 145 gone"},
    {"SHFileOperationA", "5 32 87 120 gone"},
    {"SHGetPathFromIDListA SHGetSpecialFolderLocation SizeofResource", "87"},
    {"SetCurrentDirectoryA", "3 5 21 gone"},
    {"WriteFile", "112 5 21 less"},
    // Cannot fail, or fails in a test of its own.
    {"ExitProcess GetCommandLineA GetTickCount GlobalUnlock HeapAlloc ProcessMessages Refresh "
     "SHChangeNotify SHFILEOPSTRUCTA Sleep TerminateProcess",
     ""},
};

const bool kWholeMatrix = std::getenv("UNINSTALL_MATRIX") != nullptr;

Lines WaysOf(const Call& call) {
    for (const auto& [functions, ways] : kWays) {
        if ((" " + std::string(functions) + " ").find(" " + call.function + " ") !=
            std::string::npos) {
            std::istringstream words(ways);
            Lines result{std::istream_iterator<std::string>(words), {}};
            if (call.argument.find('*') != std::string::npos) {
                std::erase(result, "gone");  // a pattern is nothing that could be there
            }
            return result;
        }
    }
    ADD_FAILURE() << "how can " << call.function << " go wrong?";
    return {};
}

struct Case {
    const BaseRun* run;
    Fault fault;
    std::string occurrence;
    bool stubborn;  // the user passes over what is reported, or ends

    void Run() const {
        const std::string fails = fault.call.Site(occurrence) + "=" + fault.what;
        SCOPED_TRACE(fails + (stubborn ? ", passed over, " : ", ") + run->scenario->name);
        Machine machine;
        machine.Setting("trace", "calls=1");
        run->scenario->stage(machine);
        machine.Setting("faults", fails);
        Lines answers{"yes"};
        for (int i = 0; stubborn && i < 40; ++i) {
            answers.insert(answers.end(), {"ignore", "cancel"});
        }
        const Outcome outcome = machine.RunFirst(stubborn ? answers : Lines{});
        Judge(fault, run->baseline, outcome, machine);
    }
};

// Each address in the first of the runs in which it occurs.
std::vector<Case> Cases(const std::vector<BaseRun>& runs) {
    std::set<std::string> seen;
    std::vector<Case> cases;
    for (const BaseRun& run : runs) {
        std::map<std::string, Call> last;
        for (const Call& call : run.calls) {
            last[call.Address()] = call;
        }
        for (const auto& [address, call] : last) {
            const Lines ways = WaysOf(call);
            std::size_t turn = Digest(address) % 1000;
            for (const std::string& which : std::set<std::string>{"1", call.occurrence, "*"}) {
                ++turn;
                for (std::size_t way = 0; !seen.contains(address) && way < ways.size(); ++way) {
                    if (kWholeMatrix || way == turn % ways.size()) {
                        // A reported failure that lasts has no end unless the user makes one.
                        const bool stubborn = which == "*" || (turn + way) % 2 == 0;
                        cases.push_back({&run, {call, ways[way]}, which, stubborn});
                    }
                }
            }
            seen.insert(address);
        }
    }
    return cases;
}

class FaultMatrix : public testing::TestWithParam<unsigned> {};

TEST_P(FaultMatrix, WhateverGoesWrongHarmsNothingAndIsTold) {
    std::vector<BaseRun> runs;
    for (const Scenario& scenario : Scenarios()) {
        runs.push_back(RunScenario(scenario));
        runs.back().baseline.complete = runs.front().baseline.complete;
    }
    const std::vector<Case> cases = Cases(runs);
    ASSERT_GT(cases.size(), 800U);
    for (std::size_t i = GetParam(); i < cases.size() && !HasFatalFailure(); i += kParts) {
        cases[i].Run();
    }
}

// Each piece of memory that the program asks for, from the first run to the end of the copy, is
// refused once: the run goes on, or ends with the short report.
TEST_P(FaultMatrix, MemoryRefusedOnceHarmsNothingAndIsTold) {
    const BaseRun run = RunScenario(Scenarios().front());
    std::vector<Call> calls = run.calls;
    std::erase_if(calls, [](const Call& call) { return call.function != "HeapAlloc"; });
    ASSERT_GT(calls.size(), 100U);
    ASSERT_TRUE(calls.front().role == "first" && calls.back().role == "copy");
    for (std::size_t i = GetParam(); i < calls.size(); i += kParts) {
        Case{&run, {calls[i], "8"}, calls[i].occurrence, false}.Run();
    }
}

INSTANTIATE_TEST_SUITE_P(Part, FaultMatrix, testing::Range(0U, kParts));

}  // namespace
}  // namespace support
