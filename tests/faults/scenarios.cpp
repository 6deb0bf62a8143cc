// The runs into which faults are put: together they make every platform call of the program.
#include "tests/faults/judge.h"

namespace support {
namespace {

const std::string kShortcut = kGroupFolder + "\\Tessorin.lnk";

void StageLinkAndProblem(Fixture& fixture) {
    fixture.Link(kProgramFolder + "\\Hilfe\\Textwerk", "C:\\Programme\\Textwerk");
    fixture.Attributes(kShortcut, "R");
}

// An earlier run was interrupted, and the editor is in use at first.
void StageSecondStart(Fixture& fixture) {
    fixture.Fault("first OpenFile 1 " + kEditor + "=32");
    for (const std::string& path : kHandOverFiles) {
        fixture.File(path, "x", path == kCopy ? "R" : "");
    }
}

}  // namespace

const std::vector<Scenario>& Scenarios() {
    static const std::vector<Scenario> scenarios{
        {"smooth", [](Fixture&) {}, RunShows(Success()), Removal()},
        {"link and problem",
         StageLinkAndProblem,
         {Confirmation(), Progress(), FolderNotEmpty(kProgramFolder), FolderNotEmpty(kGroupFolder),
          ResetQuestion(), Problems({NotDeleted("Die Verknüpfung", kShortcut)})},
         Removal()},
        {"fatal report",
         [](Fixture& fixture) { fixture.Fault(kUnreadyDrive); },
         {Confirmation(), Progress(), UnreadyDrive("Yes")},
         {}},
        {"second start", StageSecondStart,
         Lines{Confirmation(), InUse("Retry")} + CopyShows(Success()),
         Removal().Also(Lines{"- file " + kScript, "- file " + kCopy, "- file " + kRecord})},
    };
    return scenarios;
}

BaseRun RunScenario(const Scenario& scenario) {
    SCOPED_TRACE(scenario.name);
    Fixture fixture;
    fixture.RecordCalls();
    scenario.stage(fixture);
    const Things before = ThingsOf(fixture.Look());
    ExpectFinished(fixture.RunFirst({}), scenario.shown, scenario.difference);
    return {&scenario, {before, ThingsOf(fixture.Look())}, fixture.CallsMade()};
}

}  // namespace support
