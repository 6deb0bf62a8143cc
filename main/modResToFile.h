// Resources stored in the program, written out to files.
#pragma once

#include <string>

#include "common/modRuntimeError.h"
#include "platform/win32.h"

enum class Existing { Replace, Keep };  // what becomes of a file that is there already

// Writes the bytes of the stored resource with that type and id to a file. An existing file
// is deleted first, or kept: then nothing is written, and the result is error 58. Errors also
// for a missing resource and for whatever the file system refuses.
RuntimeError ResToFile(const std::string& path, WORD id, const char* type, Existing existing);
