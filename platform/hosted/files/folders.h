// The current folder of this process.
#pragma once

#include <string>

namespace hosted {

// Full path on the machine, without a backslash at its end unless it is a drive's root.
std::string CurrentFolder();
// Takes effect for this process and is seen by all. Result: a Win32 code.
unsigned SetCurrentFolder(std::string_view path);

// How a process tells those that it starts where they begin (UTF-8).
inline constexpr const char* kCurrentFolderVariable = "UNINSTALL_CURRENT_FOLDER";

}  // namespace hosted
