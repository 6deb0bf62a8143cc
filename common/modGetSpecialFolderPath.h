// Where the shell keeps its special folders.
#pragma once

#include <string>

// The path of a special folder by its CSIDL number, as the shell reports it (Windows-1252);
// empty when the system has no such folder or it lies in no file system.
std::string GetSpecialFolderPath(int folder);
