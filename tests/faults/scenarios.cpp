#include "tests/faults/judge.h"

namespace support {
namespace {

const std::string kShortcut = kGroupFolder + "\\Tessorin.lnk";

void StageLinkAndProblem(Machine& machine) {
    machine.Link(kProgramFolder + "\\Hilfe\\Textwerk", "C:\\Programme\\Textwerk");
    machine.Attributes(kShortcut, "R");
}

// An earlier run was interrupted, and the editor is in use at first.
void StageSecondStart(Machine& machine) {
    machine.Setting("faults", "first OpenFile 1 " + kEditor + "=32");
    for (const std::string& path : kHandOverFiles) {
        machine.File(path, "x");
    }
}

}  // namespace

const std::vector<Scenario>& Scenarios() {
    const std::string first = Confirmation();
    Lines secondRemoval = CompleteRemoval();
    for (const std::string& path : kHandOverFiles) {
        secondRemoval.push_back("- file " + path);
    }
    static const std::vector<Scenario> scenarios{
        {"smooth", [](Machine&) {}, RunShows(), CompleteRemoval()},
        {"link and problem",
         StageLinkAndProblem,
         {first, Progress(), FolderNotEmpty(kProgramFolder), FolderNotEmpty(kGroupFolder),
          ResetQuestion(), Problems({NotDeleted("Die Verknüpfung", kShortcut)})},
         CompleteRemoval()},
        {"fatal report",
         [](Machine& machine) { machine.Setting("faults", kUnreadyDrive); },
         {first, Progress(), Fatal(UnreadyDrive(), "Yes")},
         {}},
        {"second start", StageSecondStart, With({first, InUse("Retry")}, CopyShows()),
         secondRemoval},
    };
    return scenarios;
}

BaseRun RunScenario(const Scenario& scenario) {
    SCOPED_TRACE(scenario.name);
    Machine machine;
    machine.Setting("trace", "calls=1");
    scenario.stage(machine);
    const Things before = ThingsOf(machine.Look());
    ExpectOutcome(machine.RunFirst({}), scenario.shown, scenario.difference);
    return {&scenario, {before, ThingsOf(machine.Look())}, machine.CallsMade()};
}

}  // namespace support
