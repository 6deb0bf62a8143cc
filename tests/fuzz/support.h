// What the fuzz targets share: rules that must hold, and a small machine.
#pragma once

#include <filesystem>
#include <string_view>

namespace fuzz {

// Ends the process when a rule is broken, which the fuzzer keeps as a finding. subject is
// what the rule is about, shown with its bytes readable.
void Require(bool holds, std::string_view rule, std::string_view subject = {});

// The folder of a small hosted machine, which is that of this process: made on first use,
// removed when the process ends. tests/fuzz/run has it in a folder of its own, so that
// nothing is left of a process that breaks off either.
const std::filesystem::path& MachineFolder();

// Whether the drives hold the same folders, files and links as when the machine was made.
bool IsUntouched();

}  // namespace fuzz
