// Judges a run in which something went wrong: by rules, not by recorded output.
//
// Three states are compared: before, after a removal in which nothing went wrong, and after
// the run in question. Everything must be as in one of the first two; what is still as before
// although it should be gone is left over, and somebody must have been told.
#pragma once

#include <string>
#include <vector>

#include "tests/support/flow.h"

namespace support {

// What the first run makes in the temporary folder.
inline const Lines kHandOverFiles{kScript, kCopy, kRecord};

struct Baseline {
    Things before, complete;
};
// What is neither as before nor as after a complete removal, the files of the hand-over aside.
Lines Foreign(const Baseline& baseline, const Things& after);
// What a complete removal would have removed or changed and is still as before.
Lines LeftOver(const Baseline& baseline, const Things& after);

// A run on which faults are built.
struct Scenario {
    const char* name;
    void (*stage)(Machine& machine);
    Lines shown;       // when nothing else goes wrong
    Lines difference;  // likewise
};
const std::vector<Scenario>& Scenarios();  // the smooth one first

struct BaseRun {
    const Scenario* scenario;
    Baseline baseline;
    std::vector<Call> calls;
};
// Runs a scenario with its calls recorded; that it does what it should is expected here.
BaseRun RunScenario(const Scenario& scenario);

// Fails the test unless the rules hold for a run with that fault.
struct Fault {
    Call call;
    std::string what;
};
void Judge(const Fault& fault, const Baseline& baseline, const Outcome& outcome,
           const Machine& machine);

// Cases are shared out among parts, tests of their own, so that CTest can use all processors.
constexpr unsigned kParts = 8;

}  // namespace support
