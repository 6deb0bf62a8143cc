// Whole files: tried, copied, deleted and written as bytes. Paths are Windows-1252.
#pragma once

#include <string>
#include <string_view>

#include "common/modRuntimeError.h"
#include "platform/handles.h"

// True if the file can be opened for writing at this moment: not running, not held by
// someone else, not write-protected. Does not touch it (OpenFile).
bool CanOpenForWriting(const std::string& path);

enum class Target { Overwrite, MustBeNew };

// Copies a file; when that fails, shows the reason and asks Abort, Retry or Ignore. False
// only for Abort. An older target is deleted first, so that the copy is never written through a
// link. A box that gives none of these answers ends the program with the fatal report.
bool CopyFileWithRetry(const std::string& source, const std::string& target, Target existing);

// Deletes a file (DeleteFileA). One that is not there is no failure.
RuntimeError DeleteFileIfThere(const std::string& path);

// Creates a file that does not exist yet and writes the bytes, through to the disk. Never
// writes into something that someone else has put there.
RuntimeError WriteNewFile(const std::string& path, std::string_view bytes);

// The file, opened so that nobody can write, delete or rename it while the handle is open. Empty
// where that is not possible.
handles::File OpenedForReading(const std::string& path);
