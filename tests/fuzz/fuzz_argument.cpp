// Any text behind the program's name: it is refused as a whole and nothing changes, unless
// it is the option with an existing folder, which becomes the program folder as it is.
#include <fstream>
#include <iterator>
#include <optional>

#include "common/modGeneral.h"
#include "common/modPath.h"
#include "main/modMain.h"
#include "platform/ansi.h"
#include "platform/hosted/machine.h"
#include "platform/hosted/process/process.h"
#include "tests/fuzz/support.h"
#include "uninstall/Globals.h"

namespace {

namespace fs = std::filesystem;
using fuzz::Require;

constexpr std::string_view kOption = "/u=";

// What was shown since the last time, Windows-1252, as the machine writes it down.
std::string Shown() {
    const fs::path file = fuzz::MachineFolder() / "transcript.txt";
    std::ifstream stream(file, std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(stream), {}};
    fs::remove(file);
    return hosted::FromUtf8(text);
}

std::string Escaped(std::string_view text) {
    std::string result;
    for (const char character : text) {
        switch (character) {
            case '\\':
                result += "\\\\";
                break;
            case '\t':
                result += "\\t";
                break;
            case '\r':
                result += "\\r";
                break;
            case '\n':
                result += "\\n";
                break;
            default:
                result += character;
        }
    }
    return result;
}

// Wherever the name ends, the arguments are what is left without the blanks before it.
void CheckSeparation(const std::string& line) {
    const std::string_view arguments = CommandArguments(line);
    Require(std::string_view(line).ends_with(arguments), "arguments stand at the end", line);
    Require(arguments.empty() || (arguments.front() != ' ' && arguments.front() != '\t'),
            "no blanks before them", line);
    if (line.find_first_of("\"\r\n") == std::string::npos) {
        const std::string quoted = "\"C:\\Ein Ordner\\UnInstall.exe\" " + line;
        const std::size_t first = std::min(line.find_first_not_of(" \t"), line.size());
        Require(CommandArguments(quoted) == line.substr(first), "they arrive unchanged", line);
    }
}

void RequireRefused(const std::string& arguments, const std::string& shown) {
    const std::string message = "Unbekanntes Befehlszeilenargument (\"" + arguments + "\")";
    Require(shown.find(Escaped(message)) != std::string::npos, "it is shown", arguments);
    Require(Globals().ProgramFolder.empty(), "no folder is taken from it", arguments);
    // At the beginning of a line: the argument itself may have the name in it.
    Require(("\n" + shown).find("\nfrmUnInstProc") == std::string::npos, "no window opens",
            arguments);
}

void RequireTaken(const std::string& folder, const std::string& shown) {
    Require(shown.find("Unbekannt") == std::string::npos, "it is not refused", folder);
    const Folders& folders = Globals();
    Require(folders.ProgramFolder.ends_with('\\') && IsValidPath(folders.ProgramFolder),
            "it becomes an absolute path", folder);
    const std::optional<fs::path> given = hosted::HostPath(AddBackslash(folder));
    const std::optional<fs::path> taken = hosted::HostPath(folders.ProgramFolder);
    Require(given && taken && fs::equivalent(*given, *taken), "it is the given folder", folder);
    Require(folders.SystemFolder == "C:\\windows\\system32\\", "the system folder", folder);
    Require(folders.ProgramGroupFolder == "C:\\Programme\\Tessorin\\", "the group", folder);
}

}  // namespace

// NOLINTNEXTLINE(readability-identifier-naming): the fuzzer's name for it
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::MachineFolder();
    const std::string input(reinterpret_cast<const char*>(data), size);
    CheckSeparation(input);

    hosted::SetArguments(input.substr(0, input.find('\0')));
    const std::string arguments(CommandArguments(GetCommandLineA()));
    if (arguments.empty()) {
        return 0;  // the first run, which is somebody else's
    }
    Globals() = {};
    SetCurrentDirectoryA("C:\\windows\\Temp");
    Main();
    const std::string shown = Shown();
    const std::string folder = arguments.substr(std::min(kOption.size(), arguments.size()));
    if (arguments.starts_with(kOption) && FolderExists(folder)) {
        RequireTaken(folder, shown);
    } else {
        RequireRefused(arguments, shown);
    }
    Require(fuzz::IsUntouched(), "nothing changes", arguments);
    return 0;
}
