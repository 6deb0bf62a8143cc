// Resources stored in the program, written out to files.
#pragma once

#include <string>

#include "platform/win32.h"

// Writes the bytes of the stored resource with that type and id to a file. An existing
// file is deleted first if overwrite is true; otherwise run-time error 58 is raised and
// nothing written. Raises also for a missing resource and for whatever the file system
// refuses.
void ResToFile(const std::string& path, WORD id, const char* type, bool overwrite);
