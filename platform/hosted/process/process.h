// The processes of the sandbox. This folder starts the program and its script as real
// processes, one after the other, reads batch files as the command interpreter does, and
// answers what a process asks about itself: its file, its stored resources.
#pragma once

#include <sys/types.h>

#include <istream>
#include <string>
#include <string_view>
#include <vector>

#include "platform/hosted/call.h"

namespace hosted {

// Starts a program of the disk in a folder, or where this process is. The descriptor that is given
// becomes its kInherited. -1 if it is no program.
constexpr int kInherited = 3;
pid_t Start(std::vector<std::string> words, const fs::path& folder = {}, int inherited = -1);

// The command interpreter: the file of the program, copied into the sandbox's own folder, is one.
// Its argument is the script. It begins when its starter has ended, which closes kInherited.
int RunInterpreter(int count, char** values);

// One command of a batch file, Windows-1252.
struct ScriptCommand {
    enum class Kind { Delete, StartAndWait, Unknown };
    Kind kind = Kind::Unknown;
    std::string item;       // what is to be deleted or started; the whole text if unknown
    std::string arguments;  // of a program
};
// Reads the next line of a batch file.
std::vector<ScriptCommand> ReadScriptLine(std::istream& script);
// Runs a batch file to its end. Like the real interpreter it opens the file anew for every line,
// at the place where the last one ended, so the script may be deleted by one of its own commands.
void RunScript(std::string_view path);

}  // namespace hosted
