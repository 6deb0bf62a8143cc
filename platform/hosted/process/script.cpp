// The command interpreter: as much of it as a script with "del" and "start /wait" needs.
#include <sys/wait.h>

#include <fstream>
#include <iomanip>
#include <sstream>

#include "platform/hosted/files/files.h"
#include "platform/hosted/process/process.h"

namespace hosted {
namespace {

constexpr DWORD kBadProgram = 193;  // ERROR_BAD_EXE_FORMAT

// "%%" is a percent sign, "%name%" a variable, of which there is none here; a percent sign
// that begins neither disappears.
std::string Expand(const std::string& line) {
    std::string text;
    for (std::size_t i = 0; i < line.size(); ++i) {
        const std::size_t end = line[i] == '%' ? line.find('%', i + 1) : i;
        text += line[i] != '%' ? line.substr(i, 1) : end == i + 1 ? "%" : "";
        i = end == std::string::npos ? i : end;
    }
    return text;
}

std::string NextLine(std::istream& script) {
    std::string line;
    std::getline(script, line);
    if (line.ends_with('\r')) {
        line.pop_back();
    }
    return Expand(FromDos(line));
}

// Takes a line apart at "&" and resolves "^", which at the end of a line joins the next.
std::vector<std::string> Split(std::istream& script) {
    std::string line = NextLine(script);
    std::vector<std::string> texts(1);
    bool quoted = false;
    for (std::size_t i = 0; i < line.size(); ++i) {
        quoted = quoted != (line[i] == '"');
        if (!quoted && line[i] == '&') {
            texts.emplace_back();
            continue;
        }
        if (!quoted && line[i] == '^' && ++i == line.size()) {
            line += NextLine(script);
        }
        texts.back() += line.substr(i, 1);
    }
    return texts;
}

ScriptCommand CommandOf(const std::string& text) {
    using Kind = ScriptCommand::Kind;
    std::istringstream words(text);
    std::string verb;
    std::string option;
    ScriptCommand command;
    words >> verb;
    if (EqualIgnoringCase(verb, "del") && words >> std::quoted(command.item, '"', '\0')) {
        command.kind = Kind::Delete;
    } else if (EqualIgnoringCase(verb, "start") && words >> option >> command.item &&
               EqualIgnoringCase(option, "/wait")) {
        std::getline(words >> std::ws, command.arguments);
        command.kind = Kind::StartAndWait;
    } else {
        command.item = text;
    }
    return command;
}

// Hidden and system files are nothing that the command finds.
BOOL Delete(const std::string& path) {
    const Place place = Locate(path);
    constexpr DWORD kPassedOver =
        FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM | FILE_ATTRIBUTE_DIRECTORY;
    const bool finds = place.Exists() && (AttributesOf(place) & kPassedOver) == 0;
    return finds ? DeleteFileA(path.c_str()) : TRUE;
}

BOOL StartAndWait(const ScriptCommand& command) {
    pid_t process = -1;
    const BOOL started = Call("CreateProcessA", command.item, Call::Changes).Run([&] {
        const Place place = LocateTarget(command.item);
        if (!place.Exists()) {
            return place.code;
        }
        process = Start({place.host, ToUtf8(command.arguments)});
        return process < 0 ? kBadProgram : DWORD{ERROR_SUCCESS};
    });
    return started != FALSE && waitpid(process, nullptr, 0) == process ? TRUE : FALSE;
}

void Run(const ScriptCommand& command) {
    const std::string item = ToUtf8(command.item);
    const bool deletes = command.kind == ScriptCommand::Kind::Delete;
    if (command.kind == ScriptCommand::Kind::Unknown) {
        Sandbox::Current().AppendLine("log.txt", "unknown command: " + item);
    } else if ((deletes ? Delete(command.item) : StartAndWait(command)) == FALSE) {
        Sandbox::Current().AppendLine("log.txt", (deletes ? "del \"" : "start \"") + item +
                                                     "\": error " + std::to_string(GetLastError()));
    }
}

}  // namespace

std::vector<ScriptCommand> ReadScriptLine(std::istream& script) {
    std::vector<ScriptCommand> commands;
    for (const std::string& text : Split(script)) {
        if (text.find_first_not_of(" \t") != std::string::npos) {
            commands.push_back(CommandOf(text));
        }
    }
    return commands;
}

void RunScript(std::string_view path) {
    std::streamoff offset = 0;
    while (offset >= 0) {
        const std::optional<fs::path> host = HostPath(path);
        std::ifstream script(host.value_or(""), std::ios::binary);
        script.seekg(offset);
        const std::vector<ScriptCommand> commands = ReadScriptLine(script);
        offset = script.eof() ? -1 : std::streamoff{script.tellg()};
        for (const ScriptCommand& command : commands) {
            Run(command);
        }
    }
}

}  // namespace hosted
