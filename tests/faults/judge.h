// Judges a run in which something went wrong: by rules, not by recorded output.
//
// Three states are compared: before, after a removal in which nothing went wrong, and after
// the run in question. Everything must be as in one of the first two; what is still as before
// although it should be gone is left over, and the user must have been told.
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
    void (*stage)(Fixture& fixture);
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

// What goes wrong, and what it excuses. Texts are compared with patterns, in which "*" stands for
// anything; several have "|" between them.
struct Fault {
    Call call;
    std::string way;        // an error code, "less" or "gone"
    bool ends;              // the run must not go on after it
    bool mute;              // it is the message itself that cannot be shown
    std::string mayChange;  // what may stay or become another without a word
};
bool Matches(const std::string& text, const std::string& patterns);
// Fails the test unless the rules hold for a run with that fault.
void Judge(const Fault& fault, const Baseline& baseline, const Outcome& outcome,
           const Fixture& fixture);

}  // namespace support
