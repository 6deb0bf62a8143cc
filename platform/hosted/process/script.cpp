// The command interpreter: as much of it as a script with "del" and "start /wait" needs.
#include "platform/hosted/process/script.h"

#include <sys/wait.h>

#include <cerrno>
#include <fstream>
#include <optional>
#include <vector>

#include "platform/hosted/files/attributes.h"
#include "platform/hosted/files/listing.h"
#include "platform/hosted/files/paths.h"
#include "platform/hosted/machine.h"
#include "platform/hosted/process/start.h"
#include "platform/hosted/text.h"

namespace hosted {
namespace {

constexpr std::string_view kBlanks = " \t";
constexpr std::string_view kSeparators = " \t,;=";
constexpr char kEndOfFile = 0x1A;

std::string_view WithoutLeading(std::string_view text, std::string_view characters) {
    const std::size_t first = text.find_first_not_of(characters);
    return first == std::string_view::npos ? std::string_view() : text.substr(first);
}

struct Command {
    std::string text;
    bool onlyAfterSuccess = false;  // "&&" stands before it
};

class Interpreter {
 public:
    Interpreter(std::string_view script, ScriptActions& actions)
        : script_(script), actions_(actions) {}

    void Run() {
        while (const std::optional<std::string> line = NextLine()) {
            bool succeeded = true;
            for (const Command& command : Split(*line)) {
                if (succeeded || !command.onlyAfterSuccess) {
                    succeeded = RunCommand(command.text);
                }
            }
        }
    }

 private:
    // The next line in Windows-1252 with its variables filled in; nothing at the end of
    // the script or when it is gone.
    std::optional<std::string> NextLine() {
        const std::optional<fs::path> host = HostPath(script_);
        if (!host) {
            return std::nullopt;
        }
        std::ifstream file(*host, std::ios::binary);
        std::string line;
        if (!file.seekg(offset_) || !std::getline(file, line)) {
            return std::nullopt;
        }
        offset_ += static_cast<std::streamoff>(line.size()) + (file.eof() ? 0 : 1);
        if (!line.empty() && line.back() == '\r') {
            line.pop_back();
        }
        if (!line.empty() && line.front() == kEndOfFile) {
            return std::nullopt;
        }
        return Expand(FromDos(line));
    }

    // "%%" is a percent sign, "%name%" a variable, "%0" the script; a percent sign that
    // begins none of these disappears.
    std::string Expand(const std::string& line) const {
        std::string text;
        for (std::size_t i = 0; i < line.size(); ++i) {
            if (line[i] != '%') {
                text += line[i];
                continue;
            }
            const char next = i + 1 < line.size() ? line[i + 1] : '\0';
            const std::size_t end = line.find('%', i + 1);
            if (next == '%') {
                text += '%';
                ++i;
            } else if (next >= '0' && next <= '9') {
                text += next == '0' ? script_ : "";  // scripts are started without arguments
                ++i;
            } else if (next == '*') {
                ++i;
            } else if (end != std::string::npos) {
                text += Variable(line.substr(i + 1, end - i - 1)).value_or("");
                i = end;
            }
        }
        return text;
    }

    // Takes a line apart at "&" and resolves "^". Redirections and pipes are beyond this
    // interpreter: the line that has one is reported as a whole.
    std::vector<Command> Split(std::string line) {
        std::vector<Command> commands(1);
        bool quoted = false;
        for (std::size_t i = 0; i < line.size(); ++i) {
            const char character = line[i];
            if (character == '"') {
                quoted = !quoted;
            } else if (!quoted && character == '^') {
                if (i + 1 == line.size()) {
                    line += NextLine().value_or("");  // goes on with the next line
                }
                if (++i < line.size()) {
                    commands.back().text += line[i];
                }
                continue;
            } else if (!quoted && character == '&') {
                const bool doubled = i + 1 < line.size() && line[i + 1] == '&';
                i += doubled ? 1 : 0;
                commands.push_back({"", doubled});
                continue;
            } else if (!quoted && (character == '|' || character == '<' || character == '>')) {
                actions_.Unknown(line);
                return {};
            }
            commands.back().text += character;
        }
        return commands;
    }

    // True if it succeeded.
    bool RunCommand(std::string_view text) {
        text = WithoutLeading(text, std::string(kSeparators) + "@");
        const std::string_view word = text.substr(0, text.find_first_of(" \t,;=/\""));
        const std::string_view rest = text.substr(word.size());
        if (word.empty() && rest.empty()) {
            return true;
        }
        const bool known = EqualIgnoringCase(word, "del")     ? Delete(rest)
                           : EqualIgnoringCase(word, "start") ? StartAndWait(rest)
                                                              : false;
        if (!known) {
            actions_.Unknown(text);
        }
        return known;
    }

    // ---- del "path" ...; false if the words are not understood ----------------------
    bool Delete(std::string_view rest) {
        std::vector<std::string> paths;
        rest = WithoutLeading(rest, kSeparators);
        while (!rest.empty()) {
            std::string path;
            bool quoted = false;
            std::size_t i = 0;
            for (; i < rest.size(); ++i) {
                if (rest[i] == '"') {
                    quoted = !quoted;
                } else if (!quoted && kSeparators.find(rest[i]) != std::string_view::npos) {
                    break;
                } else {
                    path += rest[i];
                }
            }
            if (path.starts_with('/')) {
                return false;
            }
            paths.push_back(path);
            rest = WithoutLeading(rest.substr(i), kSeparators);
        }
        for (const std::string& path : paths) {
            actions_.Delete(path);
        }
        return !paths.empty();
    }

    // ---- start /wait PROGRAM ARGUMENTS -------------------------------------------------
    bool StartAndWait(std::string_view rest) {
        constexpr std::string_view kOption = "/wait";
        rest = WithoutLeading(rest, kBlanks);
        if (!EqualIgnoringCase(rest.substr(0, kOption.size()), kOption)) {
            return false;
        }
        const std::string_view command = WithoutLeading(rest.substr(kOption.size()), kBlanks);
        const bool separated = command.size() + kOption.size() < rest.size();
        if (!separated || command.empty() || command.front() == '"' || command.front() == '/') {
            return false;
        }
        actions_.StartAndWait(std::string(command.substr(0, command.find_first_of(kBlanks))),
                              std::string(command));
        return true;
    }

    std::string script_;
    ScriptActions& actions_;
    std::streamoff offset_ = 0;
};

// What the commands really do on the machine.
class MachineActions : public ScriptActions {
 public:
    void Delete(const std::string& path) override {
        FullPath full = ParsePath(path, Wildcards::InLastName);
        if (full.code != 0 || full.names.empty() || !HasWildcards(full.names.back())) {
            DeleteOne(path);
            return;
        }
        const std::string pattern = full.names.back();
        full.names.pop_back();
        const Place folder = LocateTarget(full.Text());
        if (!folder.Exists()) {
            return;
        }
        const Listing listing(folder.host);
        for (const auto& [capitals, entry] : listing.All()) {
            full.names.push_back(entry.name);
            if (NameMatches(pattern, entry.name)) {
                DeleteOne(full.Text());
            }
            full.names.pop_back();
        }
    }

    void StartAndWait(const std::string& program, const std::string& line) override {
        std::string commandLine(line);
        STARTUPINFOA startup{};
        startup.cb = sizeof startup;
        PROCESS_INFORMATION process{};
        if (CreateProcessA(program.c_str(), commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr,
                           nullptr, &startup, &process) == FALSE) {
            Report("start", program, GetLastError());
            return;
        }
        CloseHandle(process.hThread);
        CloseHandle(process.hProcess);
        while (waitpid(static_cast<pid_t>(process.dwProcessId), nullptr, 0) < 0 && errno == EINTR) {
        }
    }

    void Unknown(std::string_view text) override {
        Machine::Current().AppendLine("log.txt", "unknown command: " + ToUtf8(text));
    }

 private:
    // Hidden and system files are nothing that the command finds.
    static void DeleteOne(const std::string& path) {
        const Place place = Locate(path);
        constexpr DWORD kPassedOver =
            FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM | FILE_ATTRIBUTE_DIRECTORY;
        if (!place.Exists() || (AttributesOf(place) & kPassedOver) != 0) {
            return;
        }
        if (DeleteFileA(path.c_str()) == FALSE) {
            Report("del", path, GetLastError());
        }
    }

    static void Report(std::string_view what, std::string_view item, DWORD code) {
        Machine::Current().AppendLine("log.txt", std::string(what) + " \"" + ToUtf8(item) +
                                                     "\": error " + std::to_string(code));
    }
};

}  // namespace

void InterpretScript(std::string_view path, ScriptActions& actions) {
    Interpreter(path, actions).Run();
}

void RunScript(std::string_view path) {
    MachineActions actions;
    InterpretScript(path, actions);
}

}  // namespace hosted
