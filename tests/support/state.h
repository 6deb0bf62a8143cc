// What the tests compare: the differences of machines as lines.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "tools/sandbox/look.h"
#include "tools/sandbox/stage.h"

namespace support {

using namespace sandbox;  // NOLINT(google-build-using-namespace): tests live on one
using regtext::Keys;
using regtext::Values;

// Lines like "- file C:\x", "+ folder C:\y", "~ file C:\z: 12 bytes, R -> 12 bytes",
// "- key HKLM\x", "+ value HKLM\x\@: \"a\"", "~ value HKU\x\n: dword:00000005 -> \"b\"".
// What lies below a folder or key that is gone is gone with it and has no line of its own.
std::vector<std::string> Difference(const State& before, const State& after);

// A state as one map: paths with what lies there, keys, and "KEY|name" with the value.
using Things = std::map<std::string, std::string>;
Things ThingsOf(const State& state);

}  // namespace support
