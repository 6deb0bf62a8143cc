// The interpreter reads a line as words: what a folder's name holds decides whether the right
// program is started with the right folder. So the line is refused where that is not sure.
#include "main/Script.h"

#include <algorithm>

#include "common/Product.h"
#include "common/modText.h"
#include "common/modWinTextToDOSText.h"
#include "main/Places.h"
#include "main/modFile.h"
#include "platform/handles.h"

namespace {

// Unquoted, each of these ends a word, begins another command or is taken away.
constexpr std::string_view kEndsAWord = " &|<>^%,;=";
// The same in the text after "/u=", where words do not matter.
constexpr std::string_view kChangesAFolder = "%&^";

RuntimeError Refusal(std::string_view reason, const std::string& folder) {
    return {ErrorNumber::InvalidCall, Joined({reason, ": ", Quoted(folder)})};
}

// "C:\..." or "\\server\share\...": the interpreter finds the same folder wherever it stands.
bool IsAbsolute(std::string_view folder) {
    return folder.substr(std::min<std::size_t>(1, folder.size()), 2) == ":\\" ||
           folder.starts_with("\\\\");
}

bool IsAscii(std::string_view text) {
    return std::all_of(text.begin(), text.end(),
                       [](char letter) { return static_cast<unsigned char>(letter) < 0x80; });
}

RuntimeError SetInterpreter(const std::string& systemFolder) {
    // The system takes the interpreter for a script from this variable or looks for it
    // along the search path, the program's current folder included. Both lead to the
    // system folder from here on, for this process and those that it starts. What a folder's name
    // makes the interpreter take for a command is looked for there as well.
    if (SetEnvironmentVariableA("ComSpec", (systemFolder + "cmd.exe").c_str()) == FALSE ||
        SetCurrentDirectoryA(systemFolder.c_str()) == FALSE) {
        return SystemError(GetLastError(), systemFolder);
    }
    return {};
}

}  // namespace

std::string BuildScript(std::string_view TempFolder, std::string_view shortTempFolder,
                        std::string_view ownFolder) {
    return Joined({"del \"", TempFolder, Product::ScriptRecord, "\"\r\n",  //
                   "start /wait ", shortTempFolder, Product::Copy, " ", Product::UninstallOption,
                   WinTextToDOSText(ownFolder), "\r\n",            //
                   "del \"", TempFolder, Product::Copy, "\"\r\n",  //
                   "del \"", TempFolder, Product::Script, "\""});
}

RuntimeError CheckScriptFolders(const std::string& shortTempFolder, const std::string& ownFolder) {
    if (!IsAbsolute(shortTempFolder) || !IsAscii(shortTempFolder) ||
        shortTempFolder.find_first_of(kEndsAWord) != std::string::npos) {
        return Refusal("Temporärer Ordner nicht verwendbar", shortTempFolder);
    }
    if (ownFolder.find_first_of(kChangesAFolder) != std::string::npos) {
        return Refusal("Das Skript würde einen anderen Ordner übergeben", ownFolder);
    }
    return {};
}

RuntimeError WriteScript(const std::string& path, std::string_view text) {
    RuntimeError error = DeleteFileIfThere(path);
    return error.Failed() ? std::move(error) : WriteNewFile(path, text);
}

RuntimeError StartScript(const std::string& shortPath) {
    const std::string systemFolder = SystemFolderPath();
    if (systemFolder.empty()) {
        return SystemError(ERROR_PATH_NOT_FOUND, "cmd.exe");
    }
    RuntimeError error = SetInterpreter(systemFolder);
    if (error.Failed()) {
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
    // interpreter would take for a variable or a bracket.
    std::string command = Quoted(shortPath);
    if (CreateProcessA(shortPath.c_str(), command.data(), nullptr, nullptr, FALSE, 0, nullptr,
                       nullptr, &startup, &process) == FALSE) {
        return SystemError(GetLastError(), shortPath);
    }
    const handles::Process processHandle(process.hProcess);
    const handles::Process threadHandle(process.hThread);
    return {};
}
