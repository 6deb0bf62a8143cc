// The platform calls that a run has made.
#pragma once

#include <string>
#include <tuple>
#include <vector>

#include "tests/support/machine.h"

namespace support {

struct CallMade {
    std::string role, function;
    unsigned number = 0;  // 1 is the first of this function in this process
    unsigned result = 0;  // its error code
    bool changes = false;
};

// In the order in which they ended. The machine must have the setting that records them
// ([trace] calls=1).
std::vector<CallMade> CallsMade(const Machine& machine);

// The platform calls of a function in one of the three processes.
struct CallSite {
    std::string role, function;

    bool operator<(const CallSite& other) const {
        return std::tie(role, function) < std::tie(other.role, other.function);
    }
};

// Whether all cases are to run rather than a selection: UNINSTALL_MATRIX=full.
bool WholeMatrix();

}  // namespace support
