// What happened to a sandbox, for people: sorted into what was the product's and what was not.
#pragma once

#include <string>

#include "tools/sandbox/difference.h"

namespace sandbox {

struct Report {
    std::string text;      // UTF-8
    bool foreign = false;  // something was changed that is not the product's
};

Report ReportOn(const State& before, const State& after, const Ours& ours, bool colours);

}  // namespace sandbox
