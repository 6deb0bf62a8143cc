// The three folders that the uninstall works on, each ending in a backslash (Windows-1252).
// Set once by Main in the relaunched copy, read by everyone; empty where the system does
// not have the folder.
#pragma once

#include <string>

struct Folders {
    std::string ProgramFolder;       // the product's, in its long form
    std::string SystemFolder;        // the system's
    std::string ProgramGroupFolder;  // the product's group in the start menu
};

[[nodiscard]] inline Folders& Globals() noexcept {
    static Folders folders;
    return folders;
}
