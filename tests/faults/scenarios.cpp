#include "tests/faults/judge.h"

namespace support {
namespace {

const std::string kEditor = kProgramFolder + "\\Tessorin.exe";
const Lines kShown{Confirmation(), Progress(), FolderNotEmpty(kProgramFolder), ResetQuestion(),
                   Success()};

}  // namespace

const std::vector<Scenario>& Scenarios() {
    static const std::vector<Scenario> scenarios{
        {"smooth", [](Machine&) {}, kShown, CompleteRemoval()},
        {"link and problem",
         [](Machine& machine) {
             machine.Link(kProgramFolder + "\\Hilfe\\Textwerk", "C:\\Programme\\Textwerk");
             machine.Attributes(kGroupFolder + "\\Tessorin.lnk", "R");
         },
         {Confirmation(), Progress(), FolderNotEmpty(kProgramFolder), FolderNotEmpty(kGroupFolder),
          ResetQuestion(),
          Problems({"Die Verknüpfung \"" + kGroupFolder +
                    "\\Tessorin.lnk\" konnte nicht gelöscht werden."})},
         CompleteRemoval()},
        {"fatal report",
         [](Machine& machine) {
             machine.Setting("faults", "copy FindFirstFileA * " + kEditor + "=21");
         },
         {Confirmation(), Progress(),
          Fatal(FatalMessage("Datenträger nicht bereit: \"" + kEditor +
                                 "\"\\n\\t\\n\\tDas Gerät ist nicht bereit. (Fehlercode 21)",
                             "6:1:71"),
                "Yes")},
         {}},
        {"earlier run, editor in use",
         [](Machine& machine) {
             machine.Setting("faults", "first OpenFile 1 " + kEditor + "=32");
             for (const std::string& path : HandOverFiles()) {
                 machine.File(path, "x");
             }
         },
         With({}, {Confirmation(), InUse("Retry"), Progress(), FolderNotEmpty(kProgramFolder),
                   ResetQuestion(), Success()}),
         [] {
             Lines lines = CompleteRemoval();
             for (const std::string& path : HandOverFiles()) {
                 lines.push_back("- file " + path);
             }
             return lines;
         }()},
    };
    return scenarios;
}

BaseRun RunScenario(const Scenario& scenario) {
    SCOPED_TRACE(scenario.name);
    Machine machine;
    machine.Setting("trace", "calls=1");
    scenario.stage(machine);
    BaseRun run{&scenario, {ThingsOf(machine.Look()), {}}, {}};
    ExpectOutcome(machine.RunFirst({}), scenario.shown, scenario.difference);
    run.baseline.complete = ThingsOf(machine.Look());
    run.calls = CallsMade(machine);
    return run;
}

std::vector<BaseRun> RunScenarios() {
    std::vector<BaseRun> runs;
    for (const Scenario& scenario : Scenarios()) {
        runs.push_back(RunScenario(scenario));
        runs.back().baseline.complete = runs.front().baseline.complete;
    }
    return runs;
}

}  // namespace support
