// The program's start: tells the first run from the relaunched copy, hands over from the
// one to the other, and shows the progress window in the copy.
#pragma once

#include <string>
#include <string_view>

#include "common/modRuntimeError.h"
#include "platform/handles.h"

// The start procedure. Returns with no window open, which ends the program, or with the
// progress window shown.
void Main();

// In the relaunched copy the script that has started it, held from its start to its end:
// the interpreter goes on reading it afterwards, and nobody may change it meanwhile. Empty
// in the first run, and where there is no script or somebody else holds it.
[[nodiscard]] handles::File& HeldScript();

// The argument text of a command line: everything behind the program's name (in quotes or
// up to the first blank) and the blanks that separate it, exactly as it stands.
std::string_view CommandArguments(std::string_view commandLine);

// The system folder with a backslash (GetSystemDirectoryA); empty if the system does not
// tell or the path has more than 254 characters.
std::string SystemFolderPath();

// ---- modMain_Copy.cpp ------------------------------------------------------------------

// True if the file can be opened for writing at this moment: not running, not held by
// somebody else, not write-protected. Does not touch it.
bool CanOpenForWriting(const std::string& path);

enum class Target { Overwrite, MustBeNew };

// Copies a file; when that fails, shows the reason and asks Abort, Retry or Ignore. False
// only for Abort. After a successful copy, held receives a handle through which nobody can
// change or exchange the target; it stays empty after Ignore and where somebody else holds
// the target. An error if the target is not what has been copied.
Result<bool> CopyFileWithRetry(const std::string& source, const std::string& target,
                               Target existing, handles::File& held);

// ---- modMain_Script.cpp ----------------------------------------------------------------

// The four lines of the self-removal script: texts in, bytes out. TempFolder and
// shortTempFolder end in a backslash; ownFolder is as the system reports it. The folder
// behind "/u=" goes to the command interpreter's code page, percent signs of TempFolder are
// doubled, and everything else stays.
std::string BuildScript(std::string_view TempFolder, std::string_view shortTempFolder,
                        std::string_view ownFolder);

// Error 5 if the script's line for starting the copy cannot carry the two folders safely:
// the interpreter would start another program, or hand over another existing folder.
RuntimeError CheckScriptFolders(const std::string& shortTempFolder, const std::string& ownFolder);

// Starts the script, given by its short path, with a hidden window and the temporary folder
// as its current folder. Does not wait.
RuntimeError StartScript(const std::string& TempFolder, const std::string& scriptPath);
