// The registry of the sandbox in this process: read once, changed in memory, written as a
// whole. Processes follow one another, so nobody else changes it meanwhile.
#pragma once

#include <string>
#include <vector>

namespace hosted {

// Reads the registry now and not at its first use; a damaged file ends the process here
// (Sandbox::Damaged).
void LoadRegistry();

// Writes registry.reg, if this process has changed the registry since: before a question,
// where people may look at the sandbox, before another process is started, and at the end.
// The file is replaced as a whole, so nobody ever meets half of one. Where that cannot be
// done, the process ends (Sandbox::Damaged).
void SaveRegistry();

// The names of the keys that this process has opened and not closed.
std::vector<std::string> OpenKeys();

}  // namespace hosted
