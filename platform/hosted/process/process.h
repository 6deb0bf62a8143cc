// The processes of the machine. This folder starts the program and its script as real
// processes, one after the other, reads batch files as the command interpreter does, and
// answers what a process asks about itself: its arguments, its file, its stored resources.
#pragma once

#include <istream>
#include <string>
#include <string_view>
#include <vector>

#include "platform/hosted/descriptor.h"
#include "platform/hosted/machine.h"

namespace hosted {

// For a program that begins: the text behind its name, as GetCommandLineA gives it, and
// that it runs, so that nobody deletes its file.
void SetArguments(std::string_view arguments);
void EnterProcess();

// One command of a batch file, Windows-1252.
struct ScriptCommand {
    enum class Kind { Delete, StartAndWait, Unknown };
    Kind kind = Kind::Unknown;
    std::string item;       // what is to be deleted or started; the whole text if unknown
    std::string arguments;  // of a program
};
// Reads the next line of a batch file.
std::vector<ScriptCommand> ReadScriptLine(std::istream& script);
// Runs a batch file of the machine to its end. Like the real interpreter it opens the file
// anew for every line, at the place where the last one ended, so the script may be deleted
// by one of its own commands.
void RunScript(std::string_view path);

struct ProcessState {
    std::string commandLine;
    Descriptor program;  // its file, while it runs
};
inline ProcessState& Process() {
    return StateIn(Machine::Current().process);
}

}  // namespace hosted
