// What a process leaves in the environment of the one that it starts, and what of the
// process itself the start needs.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace hosted {

// The descriptor of the new process's entry among the processes, made and locked for it.
inline constexpr const char* kEntryVariable = "UNINSTALL_ENTRY";

// The text behind the program's name, as GetCommandLineA gives it.
void SetArguments(std::string_view arguments);

// A variable of the machine: one that SetEnvironmentVariableA has set here or in a process
// before, or one that the system always has. Windows-1252; the case of name does not
// matter.
std::optional<std::string> Variable(std::string_view name);

}  // namespace hosted
