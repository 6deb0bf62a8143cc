// Whole files, written and read as bytes.
#pragma once

#include <string>
#include <string_view>

#include "common/modRuntimeError.h"
#include "platform/handles.h"

// Deletes a file and gives the system's code. One that is not there is no failure: 0.
DWORD CodeOfDeleting(const std::string& path);
// The same with the code as an error.
RuntimeError DeleteFileIfThere(const std::string& path);

// Creates a file that does not exist yet and writes the bytes, through to the disk. Never
// writes into something that somebody else has put there meanwhile.
RuntimeError WriteNewFile(const std::string& path, std::string_view bytes);

// Opens a file so that nobody can write, delete or rename it while the handle is open. A file
// that somebody else holds at the moment, as virus scanners do with new ones, is tried again
// for up to half a second.
Result<handles::File> HoldFile(const std::string& path);

// All bytes of an open file from where it stands; of a larger one only a block more than
// limit. path serves the error only.
Result<std::string> ReadAll(const handles::File& file, const std::string& path,
                            std::size_t limit = std::string::npos);

// An error unless the open file holds exactly these bytes.
RuntimeError CheckBytes(const handles::File& file, const std::string& path, std::string_view bytes);
