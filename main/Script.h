// The self-removal script: its four lines, and its start.
#pragma once

#include <string>
#include <string_view>

#include "common/modRuntimeError.h"

// The four lines: texts in Windows-1252 in, bytes out. The first two folders end in a backslash;
// ownFolder is as the system reports it, and goes to the command interpreter's code page. No line
// break at the end.
std::string BuildScript(std::string_view TempFolder, std::string_view shortTempFolder,
                        std::string_view ownFolder);

// Error 5 if the line that starts the copy, in which nothing is quoted, would start another program
// or name another folder.
RuntimeError CheckScriptFolders(const std::string& shortTempFolder, const std::string& ownFolder);

// Writes the script's bytes to a new file; an older one is deleted first.
RuntimeError WriteScript(const std::string& path, std::string_view text);

// Starts the script, given by its short path, with a hidden window and in the system folder. Does
// not wait (CreateProcessA).
RuntimeError StartScript(const std::string& shortPath);
