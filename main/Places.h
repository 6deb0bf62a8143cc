// Where the running program lies, and the folders of the system that it works with. All texts are
// Windows-1252.
#pragma once

#include <string>

#include "common/modRuntimeError.h"

// The running program file: its folder as the system reports it (without a backslash at its end,
// except at a drive's root), and its name without the extension (GetModuleFileNameA). An error if
// the system does not tell.
struct OwnLocation {
    std::string folder;
    std::string name;
};
Result<OwnLocation> OwnFile();

// The system folder and the temporary folder, each with a backslash at its end
// (GetSystemDirectoryA, GetTempPathA). Empty if the system does not tell or the path has more than
// 254 characters.
std::string SystemFolderPath();
std::string TempFolderPath();
