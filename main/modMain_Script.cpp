#include <algorithm>
#include <optional>

#include "common/Product.h"
#include "common/modPath.h"
#include "common/modText.h"
#include "common/modWinTextToDOSText.h"
#include "main/modMain.h"
#include "platform/ansi.h"

namespace {

// Unquoted, each of these ends a word, begins another command or is taken away.
constexpr std::string_view kEndsAWord = " &|<>^%,;=";

RuntimeError Refusal(std::string_view reason, const std::string& folder) {
    return {ErrorNumber::InvalidCall, Joined({reason, ": ", Quoted(folder)})};
}

// "C:\..." or "\\server\share\...": the interpreter finds the same folder wherever it stands.
bool IsAbsolute(std::string_view folder) {
    return folder.substr(std::min<std::size_t>(1, folder.size()), 2) == ":\\" ||
           folder.starts_with("\\\\");
}

// A line of a script as the interpreter reads it: "%%" is a percent sign, and a single one
// is taken away. Nothing if the line has an argument of the script or a variable in it
// ("%1", "%~f1", "%name%"): what those stand for is not known here.
std::optional<std::string> WithoutPercentSigns(std::string_view line) {
    std::string result;
    for (std::size_t i = 0; i < line.size(); ++i) {
        if (line[i] != '%') {
            result += line[i];
            continue;
        }
        const std::string_view behind = line.substr(i + 1);
        if (behind.starts_with('%')) {
            result += '%';
            ++i;
        } else if (behind.starts_with('~') || (!behind.empty() && IsDigits(behind.substr(0, 1))) ||
                   behind.find('%') != std::string_view::npos) {
            return std::nullopt;
        }
    }
    return result;
}

// What arrives at the copy when the interpreter has read an unquoted folder: everything
// from "&" on is a command of its own, "^" only marks the next character, and some
// characters have no place in the interpreter's code page. Nothing if that cannot be told.
std::optional<std::string> AsInterpreterReads(std::string_view folder) {
    const auto text = WithoutPercentSigns(DOSTextToWinText(WinTextToDOSText(folder)));
    if (!text) {
        return std::nullopt;
    }
    std::string result;
    for (std::size_t i = 0; i < text->size() && (*text)[i] != '&'; ++i) {
        i += (*text)[i] == '^' ? 1 : 0;
        if (i < text->size()) {
            result += (*text)[i];
        }
    }
    return result;
}

// Some interpreters drop blanks at the end of a line.
std::string WithoutLastBlanks(std::string text) {
    text.erase(text.find_last_not_of(' ') + 1);
    return text;
}

// In quotes, too, the interpreter takes a percent sign for the start of a variable.
std::string WithPercentSignsDoubled(std::string_view folder) {
    std::string result;
    for (const char character : folder) {
        result.append(character == '%' ? 2 : 1, character);
    }
    return result;
}

RuntimeError SetInterpreter(const std::string& systemFolder) {
    // The system takes the interpreter for a script from this variable or looks for it
    // along the search path, the program's current folder included. Both lead to the
    // system folder from here on, for this process and those that it starts.
    if (SetEnvironmentVariableA("ComSpec", (systemFolder + "cmd.exe").c_str()) == FALSE ||
        SetCurrentDirectoryA(systemFolder.c_str()) == FALSE) {
        return SystemError(GetLastError(), systemFolder);
    }
    return {};
}

}  // namespace

std::string BuildScript(std::string_view TempFolder, std::string_view shortTempFolder,
                        std::string_view ownFolder) {
    const std::string temp = WithPercentSignsDoubled(TempFolder);
    return Joined({"del \"", temp, Product::ScriptRecord, "\"\r\n",  //
                   "start /wait ", shortTempFolder, Product::Copy, " ",
                   Product::UninstallOption,                 //
                   WinTextToDOSText(ownFolder), "\r\n",      //
                   "del \"", temp, Product::Copy, "\"\r\n",  //
                   "del \"", temp, Product::Script, "\""});
}

RuntimeError CheckScriptFolders(const std::string& shortTempFolder, const std::string& ownFolder) {
    if (!IsAbsolute(shortTempFolder) ||
        shortTempFolder.find_first_of(kEndsAWord) != std::string::npos ||
        DOSTextToWinText(shortTempFolder) != shortTempFolder) {
        return Refusal("Temporärer Ordner nicht verwendbar"_ansi, shortTempFolder);
    }
    const std::optional<std::string> arriving = AsInterpreterReads(ownFolder);
    if (!arriving || (*arriving != ownFolder && FolderExists(WithoutLastBlanks(*arriving)))) {
        return Refusal("Das Skript würde einen anderen Ordner übergeben"_ansi,
                       arriving.value_or(ownFolder));
    }
    return {};
}

RuntimeError StartScript(const std::string& TempFolder, const std::string& scriptPath) {
    const std::string systemFolder = SystemFolderPath();
    if (systemFolder.empty()) {
        return SystemError(ERROR_PATH_NOT_FOUND, "cmd.exe");
    }
    if (RuntimeError error = SetInterpreter(systemFolder)) {
        return error;
    }
    STARTUPINFOA startup{};
    startup.cb = sizeof(startup);
    startup.dwFlags = STARTF_USESHOWWINDOW;
    startup.wShowWindow = SW_HIDE;
    PROCESS_INFORMATION process{};
    // The copy is started by a process without a window: its questions come to the front.
    AllowSetForegroundWindow(ASFW_ANY);
    // Named as the program as well, and in quotes, so that neither the system nor the
    // interpreter looks for another one; by its short path, which has nothing in it that the
    // interpreter would take for a variable or a bracket. The script must not stand in the
    // folder that is to be removed.
    std::string command = Quoted(scriptPath);
    if (CreateProcessA(scriptPath.c_str(), command.data(), nullptr, nullptr, FALSE, 0, nullptr,
                       TempFolder.c_str(), &startup, &process) == FALSE) {
        return SystemError(GetLastError(), scriptPath);
    }
    const handles::Process processHandle(process.hProcess);
    const handles::Process threadHandle(process.hThread);
    return {};
}
