// Whole files, written and read as bytes. Failures raise run-time errors.
#pragma once

#include <string>
#include <string_view>

#include "platform/handles.h"

// Deletes a file. One that is not there is no failure.
void DeleteFileIfThere(const std::string& path);

// Creates a file that does not exist yet and writes the bytes, through to the disk. Never
// writes into something that somebody else has put there meanwhile.
void WriteNewFile(const std::string& path, std::string_view bytes);

// All bytes of a file.
std::string ReadWholeFile(const std::string& path);

// Opens a file so that nobody can write, delete or rename it while the handle is open,
// and raises if it does not hold exactly these bytes.
handles::File HoldUnchanged(const std::string& path, std::string_view bytes);
