// Many cases at a time: each runs in a process of its own, because a staged machine waits
// for every child of the process that made it.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace support {

// Runs the cases 0 to count - 1, as many at a time as there are processors, and returns
// their texts (4000 bytes at most). A case that ended its worker has a text that says so.
std::vector<std::string> RunInParallel(std::size_t count,
                                       const std::function<std::string(std::size_t)>& run);

}  // namespace support
