// The command interpreter's reader: what a batch file asks for.
#pragma once

#include <string>
#include <string_view>

namespace hosted {

// Does what the commands of a script say. Texts are Windows-1252.
class ScriptActions {
 public:
    ScriptActions() = default;
    virtual ~ScriptActions() = default;
    ScriptActions(const ScriptActions&) = delete;
    ScriptActions& operator=(const ScriptActions&) = delete;

    // One word of a "del"; wildcards are as they were written.
    virtual void Delete(const std::string& path) = 0;
    // "start /wait": the command line, and the program that it begins with.
    virtual void StartAndWait(const std::string& program, const std::string& line) = 0;
    // A command that this interpreter does not have.
    virtual void Unknown(std::string_view text) = 0;
};

// Reads a batch file of the machine to its end. Like the real interpreter it opens the file
// anew for every line, at the place where the last one ended, so the script may be deleted
// by one of its own commands.
void InterpretScript(std::string_view path, ScriptActions& actions);

}  // namespace hosted
