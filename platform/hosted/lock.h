// A count of the changes to the processes' entries, kept in the machine's lock file: who
// has read the entries can tell by one small read whether they still hold.
#pragma once

#include <cstdint>

namespace hosted {

std::uint64_t ProcessChanges();
// To be called with the machine locked, after a change.
void CountProcessChange();

}  // namespace hosted
