// The three folders that the uninstall works on, each ending in a backslash (Windows-1252).
// Main sets them once in the relaunched copy; everything else reads them.
#pragma once

#include <string>

inline std::string ProgramFolder;       // the product's, in its long form
inline std::string SystemFolder;        // the system's
inline std::string ProgramGroupFolder;  // the product's group in the start menu; may be empty
