// Each piece of memory that the program asks for, from the first run to the end of the copy, is
// refused once. The rules of judge.h hold: the run goes on, or ends with the short report.
//
// Normally a selection runs, UNINSTALL_MATRIX=full makes it all.
#include <map>

#include "tests/faults/judge.h"

namespace support {
namespace {

class Memory : public testing::TestWithParam<unsigned> {};

// Disabled until the program takes its memory from HeapAlloc, where it can be refused.
TEST_P(Memory, DISABLED_RefusedOnceHarmsNothingAndIsTold) {
    const BaseRun run = RunScenario(Scenarios().front());
    std::vector<Call> calls;
    std::map<std::string, unsigned> counts;
    for (const Call& call : run.calls) {
        if (call.function == "HeapAlloc") {
            ++counts[call.role];
            calls.push_back(call);
        }
    }
    ASSERT_GT(counts["first"], 100U);
    ASSERT_GT(counts["copy"], 100U);
    // About 300 of them: a step that is odd, so that it keeps no time with any loop.
    const std::size_t step = WholeMatrix() ? 1 : calls.size() / 300 | 1U;
    for (std::size_t i = GetParam() * step; i < calls.size(); i += kParts * step) {
        const std::string fails = calls[i].Site(calls[i].occurrence) + "=8";
        SCOPED_TRACE(fails);
        Machine machine;
        machine.Setting("trace", "calls=1").Setting("faults", fails);
        const Outcome outcome = machine.RunFirst({});
        Judge({calls[i], "8"}, run.baseline, outcome, machine);
    }
}

INSTANTIATE_TEST_SUITE_P(Part, Memory, testing::Range(0U, kParts));

}  // namespace
}  // namespace support
