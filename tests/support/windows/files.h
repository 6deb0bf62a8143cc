// Real files and folders, made, removed and looked at for the tests. Paths are UTF-8.
#pragma once

#include <string>

#include "tests/support/state.h"

namespace support {

void MakeFolders(const std::string& path);
void WriteRealFile(const std::string& path, const std::string& content);
std::string ReadRealFile(const std::string& path);  // empty if there is none
void SetRealAttributes(const std::string& path, const std::string& letters);
// A file, or a folder with all in it; none is no failure.
void RemoveTree(const std::string& path);
// Everything in a folder and, if self, the folder.
void LookAtTree(const std::string& path, bool self, State& state);

}  // namespace support
