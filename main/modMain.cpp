#include "main/modMain.h"

#include <algorithm>
#include <array>

#include "common/modGeneral.h"
#include "common/modGetShortPathAlways.h"
#include "common/modGetSpecialFolderPath.h"
#include "common/modPath.h"
#include "common/modRuntimeError.h"
#include "main/modFile.h"
#include "main/modResToFile.h"
#include "platform/ansi.h"
#include "uninstall/Globals.h"
#include "uninstall/frmUnInstProc.h"

namespace {

constexpr std::uint8_t kProcedure = 1;
constexpr WORD kRecordId = 101;
constexpr std::string_view kUninstallOption = "/u=";

std::string TempFolderPath() {
    return QueriedFolder([](char* buffer, DWORD size) { return GetTempPathA(size, buffer); });
}

// The running program file: its folder as the system reports it, and its name without the
// extension.
struct OwnLocation {
    std::string folder;
    std::string name;
};

OwnLocation OwnFile() {
    std::array<char, MAX_PATH + 1> buffer{};
    const DWORD length =
        GetModuleFileNameA(nullptr, buffer.data(), static_cast<DWORD>(buffer.size()));
    const std::string_view path(buffer.data(), length < buffer.size() ? length : 0);
    const std::size_t cut = path.rfind('\\');
    if (cut == std::string_view::npos) {
        RaiseSystemError(GetLastError(), path);
    }
    const std::string_view file = path.substr(cut + 1);
    const bool atRoot = cut == 2;  // "C:\": the root keeps its backslash
    return {std::string(path.substr(0, atRoot ? cut + 1 : cut)),
            std::string(file.substr(0, file.rfind('.')))};
}

// Reports a pending error, which ends the program; goes on if there is none.
void CheckPoint(std::uint8_t place) noexcept {
    if (CurrentError().number != 0) {
        ReportError(kProcedure, place, CurrentError().number, true, true);
    }
}

bool UserConfirms() {
    return ShowMessage("Sind Sie sicher, dass Tessorin deinstalliert werden soll?",
                       MB_YESNO | MB_ICONEXCLAMATION) == IDYES;
}

bool UserRetries() {
    constexpr std::string_view kInUse =
        "Tessorin kann derzeit nicht deinstalliert werden. Wahrscheinlich wird das Programm noch ausgeführt oder Sie haben nicht die erforderlichen Berechtigungen, um es zu deinstallieren.\r\n\r\nFalls das Programm noch ausgeführt wird, beenden Sie es bitte und klicken dann auf \"Wiederholen\", um mit der Deinstallation fortzufahren."_ansi;
    return ShowMessage(std::string(kInUse), MB_RETRYCANCEL | MB_ICONEXCLAMATION) == IDRETRY;
}

// Waits until the editor is not in use. False if the user gives up.
bool EditorIsFree() {
    for (;;) {
        std::string editor;
        if (!RunStep([&] { editor = AddBackslash(OwnFile().folder) + "Tessorin.exe"; })) {
            return true;  // without its place nothing can be tested; the next check point ends
        }
        bool found = true;
        RunStep([&] { found = !LookUp(editor, kFileMask).empty(); });
        if (!found || CanOpenForWriting(editor)) {
            return true;
        }
        bool again = false;
        RunStep([&] { again = UserRetries(); });
        if (!again) {
            return false;
        }
    }
}

// The first run's way through the temporary folder. Each step raises on its own.
struct HandOver {
    std::string TempFolder;
    std::string script;
    handles::File heldCopy;  // nobody may exchange the copy or the script
    handles::File heldScript;

    std::string InTemp(std::string_view file) const {
        if (TempFolder.empty()) {
            RaiseSystemError(ERROR_PATH_NOT_FOUND, file);  // it would be relative
        }
        return TempFolder + std::string(file);
    }
    bool Copy() {
        const OwnLocation own = OwnFile();
        return CopyFileWithRetry(AddBackslash(own.folder) + own.name + ".exe",
                                 InTemp("UnInstall.exe"), false, heldCopy);
    }
    void Build() {
        const std::string shortFolder = GetShortPathAlways(TempFolder);
        const std::string ownFolder = OwnFile().folder;
        CheckScriptFolders(shortFolder, ownFolder);
        script = BuildScript(TempFolder, shortFolder, ownFolder);
    }
    void Write() {
        const std::string path = InTemp("UnInstall.bat");
        DeleteFileIfThere(path);
        WriteNewFile(path, script);
        heldScript = HoldUnchanged(path, script);
    }
    void Start() {
        const std::string path = InTemp("UnInstall.bat");
        // Let go right before the start: the script must be able to delete both, and it
        // may reach its end before this process does.
        heldCopy.Close();
        heldScript.Close();
        StartScript(TempFolder, path);
    }
};

void FirstRun(std::string TempFolder) {
    bool confirmed = false;
    RunStep([&] { confirmed = UserConfirms(); });
    if (!confirmed || !EditorIsFree()) {
        return;
    }
    HandOver handOver{std::move(TempFolder), {}, {}, {}};
    bool copied = true;
    RunStep([&] { copied = handOver.Copy(); });
    if (!copied) {
        return;
    }
    // A script that could not be built leaves an empty file, never an older script.
    RunStep([&] { handOver.Build(); });
    RunStep([&] { handOver.Write(); });
    CheckPoint(2);
    RunStep([&] { ResToFile(handOver.InTemp("UnInstall.pif"), kRecordId, "Custom", true); });
    CheckPoint(3);
    RunStep([&] { handOver.Start(); });
    CheckPoint(4);
}

// The program folder in its long form. Between the test and this the folder may have gone;
// then the long form is incomplete and names some other folder, which must stay.
std::string LongProgramFolder(std::string_view folder) {
    std::string result = AddBackslash(GetLongPath(folder));
    const std::string given = AddBackslash(folder);
    const auto depth = [](const std::string& path) {
        return std::count(path.begin(), path.end(), '\\');
    };
    if (depth(result) != depth(given) || result.find("\\\\") != std::string::npos ||
        !FolderExists(result)) {
        RaiseSystemError(ERROR_PATH_NOT_FOUND, folder);
    }
    return result;
}

std::string GroupFolder() {
    std::string programs = AddBackslash(GetSpecialFolderPath(CSIDL_COMMON_PROGRAMS));
    if (programs.empty()) {
        programs = AddBackslash(GetSpecialFolderPath(CSIDL_PROGRAMS));
    }
    // Without either, "Tessorin\" alone would be relative to the current folder.
    return programs.empty() ? programs : programs + "Tessorin\\";
}

void ShowUnknownArgument(std::string_view arguments) {
    ShowMessage(Joined({"Unbekanntes Befehlszeilenargument (\"", arguments, "\")"}),
                MB_OK | MB_ICONEXCLAMATION);
}

void ShowProgressWindow() {
    // As long as the program: it outlives Main and is used until the sequence has ended.
    static frmUnInstProc progressWindow;
    if (!progressWindow.Show()) {
        RaiseSystemError(GetLastError(), "frmUnInstProc");
    }
}

void RelaunchedCopy(std::string_view arguments) {
    const bool known = arguments.starts_with(kUninstallOption);
    const std::string_view folder = known ? arguments.substr(kUninstallOption.size()) : "";
    bool exists = false;
    RunStep([&] { exists = known && FolderExists(folder); });
    if (!exists) {
        RunStep([&] { ShowUnknownArgument(arguments); });
        return;
    }
    Folders& folders = Globals();
    RunStep([&] { folders.ProgramFolder = LongProgramFolder(folder); });
    CheckPoint(4);
    RunStep([&] { folders.SystemFolder = SystemFolderPath(); });
    RunStep([&] { folders.ProgramGroupFolder = GroupFolder(); });
    // Started by hand in the program folder, the program itself would keep it from being
    // removed; in the temporary folder, it would find libraries that others put there.
    SetCurrentDirectoryA(folders.SystemFolder.c_str());
    RunStep([] { ShowProgressWindow(); });
    CheckPoint(5);
}

}  // namespace

std::string SystemFolderPath() {
    return QueriedFolder(
        [](char* buffer, DWORD size) { return GetSystemDirectoryA(buffer, size); });
}

std::string_view CommandArguments(std::string_view commandLine) {
    const bool quoted = commandLine.starts_with('"');
    const std::size_t end = commandLine.find_first_of(quoted ? "\"" : " \t", quoted ? 1 : 0);
    if (end == std::string_view::npos) {
        return {};
    }
    const std::string_view rest = commandLine.substr(end + (quoted ? 1 : 0));
    return rest.substr(std::min(rest.find_first_not_of(" \t"), rest.size()));
}

void Main() noexcept {
    std::string TempFolder;
    RunStep([&] { TempFolder = TempFolderPath(); });
    const char* const commandLine = GetCommandLineA();
    const std::string_view arguments = CommandArguments(commandLine);
    if (arguments.empty()) {
        FirstRun(std::move(TempFolder));
    } else {
        RelaunchedCopy(arguments);
    }
}
