#include "tests/faults/calls.h"

#include <sstream>

#include "tests/support/stage.h"

namespace support {

std::vector<CallMade> CallsMade(const Machine& machine) {
    std::istringstream lines(ReadBytes(machine.HostFolder() + "/calls.txt"));
    std::vector<CallMade> calls;
    std::string effect;
    for (CallMade call;
         lines >> call.role >> call.function >> call.number >> call.result >> effect;) {
        call.changes = effect == "changes";
        calls.push_back(call);
    }
    return calls;
}

}  // namespace support
