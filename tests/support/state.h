// What the tests compare: the differences of sandboxes as lines, and whole states.
#pragma once

#include <map>
#include <string>

#include "tools/sandbox/difference.h"
#include "tools/sandbox/stage.h"

namespace support {

using namespace sandbox;  // NOLINT(google-build-using-namespace): tests live on one
using regtext::Keys;
using regtext::Values;

// A state as one map: paths with what lies there, keys, and "KEY|name" with the value.
using Things = std::map<std::string, std::string>;
Things ThingsOf(const State& state);

}  // namespace support
