// The self-removal script: its four lines, and its start.
#pragma once

#include <string>
#include <string_view>

#include "common/modRuntimeError.h"

struct Script {
    std::string path;  // where it will lie, in the short form
    std::string text;
};

// The script that hands ownFolder, as the system reports it, to the copy in TempFolder (which ends
// in a backslash). Error 5 if TempFolder has no short form, or if the line that starts the copy
// cannot carry the two folders.
Result<Script> MakeScript(const std::string& TempFolder, const std::string& ownFolder);

// The four lines: texts in Windows-1252 in, bytes out. The folder after "/u=" goes to the command
// interpreter's code page, everything else stays as it is. No line break at the end.
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
