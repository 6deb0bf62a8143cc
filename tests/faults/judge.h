// Judges a run in which a platform call was refused.
#pragma once

#include <set>
#include <string>
#include <vector>

#include "tests/faults/calls.h"
#include "tests/faults/verdict.h"

namespace support {

// The refused call.
struct Fault {
    CallSite site;
    unsigned call = 0;  // 0: every one
    unsigned code = 0;
};

// How a run ended for its user.
enum class End { AsEver, Listed, Ended, Silent };

struct Judgement {
    End end = End::AsEver;
    Lines violations;                // of the rules, a line each
    std::set<std::size_t> silences;  // that were needed, see Silences
};

// The baseline's first state is that of the machine before this run, which has recorded its
// calls.
Judgement JudgeRun(const Fault& fault, const Baseline& baseline, const Outcome& outcome,
                   const Machine& machine);

// Why something may stay, or happen, without a word.
struct SilenceReason {
    std::string text;
    bool byChance;  // depends on which process is quicker: not every matrix needs it
};
std::vector<SilenceReason> Silences();

}  // namespace support
