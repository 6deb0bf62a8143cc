// The report as people read it.
#pragma once

#include <string>

#include "tools/machine/difference.h"

namespace report {

// UTF-8; user is the hive that is the current user's, colours are escape sequences.
std::string ReportText(const Difference& difference, const std::string& user, bool colours);

}  // namespace report
