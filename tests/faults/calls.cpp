#include "tests/faults/calls.h"

#include <cstdlib>
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

bool WholeMatrix() {
    const char* const wish = std::getenv("UNINSTALL_MATRIX");
    return wish != nullptr && std::string(wish) == "full";
}

}  // namespace support
