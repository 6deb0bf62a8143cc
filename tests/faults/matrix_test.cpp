// Every platform call of the program goes wrong: the first one with that argument, the last one,
// and all of them for good. Whatever goes wrong, and however, the rules of judge.h hold.
//
// A row says which calls it is about, how they can go wrong, and what may then stay or change
// without a word, and why. The first row that fits a call and has a way is the one that counts,
// so exceptions stand above the rule. The ways are what can happen on a sound computer at the
// moment of the call: an error code (none that means "not there": that is an answer, not a
// failure), "less" (success with less than was asked for) or "gone" (what the call is about
// disappears before it).
#include <set>
#include <sstream>

#include "tests/faults/judge.h"

namespace support {
namespace {

// What the rules demand besides, or do not.
enum Rule {
    Told,      // the run goes on or ends, and either is told
    Ends,      // it must not go on
    Mute,      // it is the message itself that cannot be shown
    NotBegun,  // both
};

struct Row {
    const char* role;
    const char* functions;
    const char* argument;  // a pattern, see judge.h
    const char* ways;      // none: these calls cannot fail
    Rule rule = Told;
    const char* mayChange = "";  // patterns: what may stay, or become another, without a word
    const char* why = "";
};

constexpr const char* kFileWays = "5 32 21 gone";
constexpr const char* kKeyWays = "5 8 1018 1450 gone";
constexpr const char* kReadWays = "5 8 234 1450 gone";

const Row kMatrix[] = {
    // ---- whatever the process --------------------------------------------------------------
    {"*",
     "DestroyWindow ExitProcess GetTickCount GlobalUnlock ProcessMessages Refresh "
     "SHChangeNotify SHFILEOPSTRUCTA Sleep TerminateProcess",
     "*", "", Told, "", "have no result, or none that the program could use"},
    {"*", "HeapAlloc", "*", "", Told, "", "is refused in a test of its own"},
    {"*", "CloseHandle FindClose GlobalFree RegCloseKey", "*", "6"},
    {"*", "AllowSetForegroundWindow CloseClipboard EmptyClipboard MessageBeep OpenClipboard", "*",
     "5"},
    {"*", "CreateWindowExA FormatMessageA GlobalAlloc GlobalLock SetClipboardData SetWindowTextA",
     "*", "8"},

    // ---- the first run: what it cannot make it does not start --------------------------------
    {"first", "MessageBoxA", "Sind Sie sicher*|Tessorin kann derzeit nicht*", "8", NotBegun, "",
     "who cannot be asked has not agreed"},
    {"first", "MessageBoxA", "*", "8"},
    {"first", "GetTempPathA GetSystemDirectoryA", "*", "8 less", Ends},
    {"first", "GetModuleFileNameA SetEnvironmentVariableA", "*", "8", Ends},
    {"first", "FindFirstFileA", "*", "5 21 8", Ends},
    {"first", "FindFirstFileA", "*", "gone"},
    {"first", "OpenFile DeleteFileA GetFileAttributesA SetFileAttributesA", "*", kFileWays},
    {"first", "CopyFileA", "*", "5 32 112 21", Ends},
    {"first", "CopyFileA", "*", "gone"},
    {"first", "GetShortPathNameA", "*", "3 5 87", Ends},
    {"first", "GetShortPathNameA", "*", "less gone", Told, "",
     "a short form that is too long is asked for again"},
    {"first", "CreateFileA", "*", "5 32 112 3 123", Ends},
    {"first", "CreateFileA", "*", "gone"},
    {"first", "WriteFile", "*", "112 5 21 less", Ends},
    {"first", "FindResourceA", "*", "1813 1814", Ends},
    {"first", "LoadResource LockResource", "*", "8", Ends},
    {"first", "SizeofResource", "*", "87", Ends},
    {"first", "SetCurrentDirectoryA", "*", "3 5 21 gone", Ends},
    {"first", "CreateProcessA", "*", "5 2 8 740 gone", Ends},

    // ---- the script --------------------------------------------------------------------------
    {"script", "CreateProcessA", "*", "5 2 8 740 gone", Ends},
    {"script", "DeleteFileA", "*", kFileWays, Told, "C:\\windows\\Temp\\UnInstall.*",
     "an interpreter without a window tells nobody what it cannot delete"},

    // ---- the copy: messages ------------------------------------------------------------------
    {"copy", "MessageBoxA", "Der folgende Fehler*", "8", Mute, "*",
     "the report ends the program all the same"},
    {"copy", "MessageBoxA", "Sollen die Windows-*", "8", Told,
     "HKEY_*\\Classes\\*|HKEY_*\\Internet Explorer\\*|HKEY_*\\HTML\\*",
     "who cannot be asked does not want the settings reset"},
    {"copy", "MessageBoxA", "*", "8", Mute, "",
     "a question counts as No and has its line; nobody hears of a success"},

    // ---- the copy: folders and files ---------------------------------------------------------
    {"copy", "GetTempPathA GetModuleFileNameA GetCurrentDirectoryA", "*", "8 less"},
    {"copy", "GetSystemDirectoryA", "*", "8 less", Told, "*\\SharedDLLs*",
     "the names of the counts begin with that folder: there are none of these names"},
    {"copy", "GetWindowsDirectoryA", "*", "8 less", Told, "*\\command*",
     "the new commands are Notepad's name alone"},
    {"copy", "SHGetSpecialFolderLocation SHGetPathFromIDListA", "*", "87", Told,
     "C:\\Dokumente und Einstellungen\\*\\Programme\\Tessorin*",
     "without the menu of all users the group is the one in the user's own"},
    {"copy", "CreateFileA", "*", "5 32 112 3 123"},
    {"copy", "CreateFileA", "*", "gone", Told, "C:\\windows\\Temp\\UnInstall.exe",
     "without the script nobody deletes the copy"},
    {"copy", "FindFirstFileA", "*\\[*]", "5 21 8"},
    {"copy", "FindFirstFileA", "*", "5 21 8 gone"},
    {"copy", "FindNextFileA", "*", "5 21 8"},
    {"copy", "GetFileAttributesA", "*", kFileWays},
    {"copy", "SHFileOperationA", "*", "5 32 87 120 gone"},
    {"copy", "RemoveDirectoryA", "*", "5 32 145 gone"},
    {"copy", "SetCurrentDirectoryA", "*", "3 5 21 gone"},

    // ---- the copy: keys ----------------------------------------------------------------------
    {"copy", "RegOpenKeyExA RegEnumKeyA", "*\\Software\\Verlonix|*\\Software\\Verlonix:*",
     "5 8 1018 234 1450 gone", Told, "*\\Software\\Verlonix",
     "the maker's key goes only when it can be seen to be empty"},
    {"copy", "RegOpenKeyExA RegEnumKeyA", "HKEY_USERS|HKEY_USERS:*", "5 8 1018 234 1450", Told,
     "HKEY_USERS\\.DEFAULT\\*\\Verlonix*|HKEY_USERS\\*-1001\\*\\Verlonix*",
     "without the list of hives nobody knows whose there are"},
    {"copy", "RegOpenKeyExA RegQueryValueExA RegEnumKeyA RegDeleteKeyA",
     "HKEY_CURRENT_USER\\*Default* Editor\\shell\\edit\\command*", "gone", Told,
     "*Default* Editor*", "nobody knows whose an editor was when the command that told it is gone"},
    {"copy", "RegOpenKeyExA", "HKEY_CLASSES_ROOT*", kKeyWays, Told, "*\\command*",
     "file types that cannot be read are none of our business; most are not ours"},
    {"copy", "RegEnumKeyA RegQueryValueExA", "HKEY_CLASSES_ROOT*", kReadWays, Told, "*\\command*",
     "likewise"},
    {"copy", "RegOpenKeyExA RegDeleteKeyA RegDeleteValueA RegSetValueExA", "*", kKeyWays},
    {"copy", "RegEnumKeyA RegQueryValueExA", "*", kReadWays},
};
constexpr std::size_t kRows = std::size(kMatrix);

Lines Words(const std::string& text) {
    std::istringstream words(text);
    return {std::istream_iterator<std::string>(words), {}};
}

bool Has(const Lines& list, const std::string& word) {
    return std::find(list.begin(), list.end(), word) != list.end();
}

bool IsAbout(const Row& row, const Call& call) {
    return Matches(call.role, row.role) && Has(Words(row.functions), call.function) &&
           Matches(call.argument, row.argument);
}

// Whether this is the row that counts for a call that goes wrong in that way.
bool Counts(const Row& row, const Call& call, const std::string& way) {
    for (const Row& other : kMatrix) {
        if (IsAbout(other, call) && Has(Words(other.ways), way)) {
            return &other == &row;
        }
    }
    return false;
}

const std::vector<BaseRun>& BaseRuns() {
    static const std::vector<BaseRun> all = [] {
        std::vector<BaseRun> runs;
        for (const Scenario& scenario : Scenarios()) {
            runs.push_back(RunScenario(scenario));
            runs.back().baseline.complete = runs.front().baseline.complete;
        }
        return runs;
    }();
    return all;
}

// A user who lets everything be repeated, or one who passes over what is reported, or ends.
void RunWith(const BaseRun& run, const Fault& fault, const std::string& occurrence) {
    const std::string fails = fault.call.Site(occurrence) + "=" + fault.way;
    SCOPED_TRACE(fails + ", " + run.scenario->name);
    Fixture fixture;
    fixture.RecordCalls();
    run.scenario->stage(fixture);
    fixture.Fault(fails);
    Lines answers;
    if (occurrence == "*") {  // a failure that lasts has no end unless the user makes one
        answers.push_back("yes");
        for (int i = 0; i < 40; ++i) {
            answers.insert(answers.end(), {"ignore", "cancel"});
        }
    }
    const Outcome outcome = fixture.RunFirst(answers);
    Judge(fault, run.baseline, outcome, fixture);
}

class Matrix : public testing::TestWithParam<std::size_t> {};

TEST_P(Matrix, WhateverGoesWrongHarmsNothingAndIsTold) {
    const Row& row = kMatrix[GetParam()];
    std::set<std::string> seen;  // each address in the first of the runs in which it occurs
    for (const BaseRun& run : BaseRuns()) {
        std::map<std::string, Call> last;
        for (const Call& call : run.calls) {
            if (IsAbout(row, call) && !seen.contains(call.Address())) {
                last[call.Address()] = call;
            }
        }
        for (const auto& [address, call] : last) {
            seen.insert(address);
            for (const std::string& way : Words(row.ways)) {
                for (const std::string& which : std::set<std::string>{"1", call.occurrence, "*"}) {
                    if (Counts(row, call, way)) {
                        const bool ends = row.rule == Ends || row.rule == NotBegun;
                        const bool mute = row.rule == Mute || row.rule == NotBegun;
                        RunWith(run, {call, way, ends, mute, row.mayChange}, which);
                    }
                }
            }
        }
    }
    EXPECT_FALSE(seen.empty()) << "no call is like this row";
}

std::string NameOf(const testing::TestParamInfo<std::size_t>& info) {
    const Row& row = kMatrix[info.param];
    const std::string role = row.role == std::string("*") ? "any" : row.role;
    return role + "_" + Words(row.functions).front() + "_" + std::to_string(info.param);
}

INSTANTIATE_TEST_SUITE_P(Row, Matrix, testing::Range(std::size_t{0}, kRows), NameOf);

TEST(MatrixRows, AreThereForEveryCall) {
    for (const BaseRun& run : BaseRuns()) {
        for (const Call& call : run.calls) {
            EXPECT_TRUE(std::any_of(std::begin(kMatrix), std::end(kMatrix),
                                    [&](const Row& row) { return IsAbout(row, call); }))
                << "how can this go wrong? " << call.Address();
        }
    }
}

// The first piece of memory of each process, its last one, and one in the midst of the removal:
// the run ends with the short report, or nobody notices.
TEST(Memory, RefusedOnceHarmsNothingAndIsTold) {
    const BaseRun& run = BaseRuns().front();
    std::map<std::string, std::vector<Call>> pieces;  // by process
    for (const Call& call : run.calls) {
        if (call.function == "HeapAlloc") {
            pieces[call.role].push_back(call);
        }
    }
    for (const auto& [role, calls] : pieces) {
        for (const std::size_t piece : {std::size_t{0}, calls.size() / 2, calls.size() - 1}) {
            const bool asks = role == "first" && piece == 0;  // not yet begun
            RunWith(run, {calls[piece], "8", false, asks, ""}, calls[piece].occurrence);
        }
    }
}

}  // namespace
}  // namespace support
