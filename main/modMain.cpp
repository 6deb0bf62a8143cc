#include "main/modMain.h"

#include <algorithm>
#include <array>

#include "common/Product.h"
#include "common/modGeneral.h"
#include "common/modGetShortPathAlways.h"
#include "common/modGetSpecialFolderPath.h"
#include "common/modPath.h"
#include "common/modText.h"
#include "main/modFile.h"
#include "main/modResToFile.h"
#include "platform/ansi.h"
#include "uninstall/Globals.h"
#include "uninstall/frmUnInstProc.h"

namespace {

constexpr std::uint8_t kProcedure = 1;
constexpr WORD kRecordId = 101;

std::string TempFolderPath() {
    return QueriedFolder([](char* buffer, DWORD size) { return GetTempPathA(size, buffer); });
}

// The running program file: its folder as the system reports it, and its name without the
// extension.
struct OwnLocation {
    std::string folder;
    std::string name;
};

Result<OwnLocation> OwnFile() {
    std::array<char, MAX_PATH + 1> buffer{};
    const DWORD length =
        GetModuleFileNameA(nullptr, buffer.data(), static_cast<DWORD>(buffer.size()));
    const std::string_view path(buffer.data(), length < buffer.size() ? length : 0);
    const std::size_t cut = path.rfind('\\');
    if (cut == std::string_view::npos) {
        return SystemError(GetLastError(), path);
    }
    const std::string_view file = path.substr(cut + 1);
    const bool atRoot = cut == 2;  // "C:\": the root keeps its backslash
    return OwnLocation{std::string(path.substr(0, atRoot ? cut + 1 : cut)),
                       std::string(file.substr(0, file.rfind('.')))};
}

// The steps from here on lead to this check point.
void HeadFor(std::uint8_t place) {
    RunningPlace() = {kProcedure, place};
}

// Reports a pending error, which ends the program; goes on if there is none.
void CheckPoint() {
    if (CurrentError().number != 0) {
        ReportError(kProcedure, RunningPlace().place, CurrentError().number, Fatal::Yes,
                    ShortForm::Yes);
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
    do {
        Result<OwnLocation> own = OwnFile();
        if (!RunStep(std::move(own.error))) {
            return true;  // without its place nothing can be tested; the next check point ends
        }
        const std::string editor = AddBackslash(own.value.folder) + Product::Program;
        Result<std::string> found = LookUp(editor, kFileMask);
        const bool missing = RunStep(std::move(found.error)) && found.value.empty();
        if (missing || CanOpenForWriting(editor)) {
            return true;
        }
    } while (UserRetries());
    return false;
}

// The first run's way through the temporary folder.
struct HandOver {
    std::string TempFolder;
    OwnLocation own;
    std::string shortTempFolder = {}, script = {};
    handles::File heldCopy = {}, heldScript = {};  // nobody may exchange them

    [[nodiscard]] std::string InTemp(std::string_view file) const {
        return Joined({TempFolder, file});
    }
    // The script, once it is sure that it can name the two folders. What cannot be told yet,
    // the short form of the one, is an error of its own.
    RuntimeError Build() {
        Result<std::string> shortFolder = GetShortPathAlways(TempFolder);
        if (shortFolder.error) {
            return std::move(shortFolder.error);
        }
        shortTempFolder = std::move(shortFolder.value);
        RuntimeError refusal = CheckScriptFolders(shortTempFolder, own.folder);
        if (refusal) {
            RunStep(std::move(refusal));
            CheckPoint();  // before anything is copied for a script that would not work
        }
        script = BuildScript(TempFolder, shortTempFolder, own.folder);
        return {};
    }
    Result<bool> Copy() {
        return CopyFileWithRetry(Joined({AddBackslash(own.folder), own.name, ".exe"}),
                                 InTemp(Product::Copy), Target::Overwrite, heldCopy);
    }
    RuntimeError Write() {
        const std::string path = InTemp(Product::Script);
        RuntimeError error = DeleteFileIfThere(path);
        if (!error) {
            error = WriteNewFile(path, script);
        }
        return error ? std::move(error) : Hold(path);
    }
    // Nobody may have changed it since it was written, and nobody may from here on.
    RuntimeError Hold(const std::string& path) {
        Result<handles::File> file = HoldFile(path);
        RuntimeError error =
            file.error ? std::move(file.error) : CheckBytes(file.value, path, script);
        if (!error) {
            heldScript = std::move(file.value);
        }
        return error;
    }
    RuntimeError Start() {
        // Let go right before the start: the script must be able to delete both, and it
        // may reach its end before this process does.
        heldCopy.Close();
        heldScript.Close();
        return StartScript(TempFolder, Joined({shortTempFolder, Product::Script}));
    }
};

void FirstRun(const std::string& TempFolder) {
    if (!UserConfirms() || !EditorIsFree()) {
        return;
    }
    Result<OwnLocation> own = OwnFile();
    RunStep(TempFolder.empty() ? SystemError(ERROR_PATH_NOT_FOUND, Product::Copy)  // relative
                               : std::move(own.error));
    CheckPoint();
    HandOver handOver{TempFolder, std::move(own.value)};
    // A script that could not be built leaves an empty file, never an older script.
    RunStep(handOver.Build());
    Result<bool> copied = handOver.Copy();
    if (RunStep(std::move(copied.error)) && !copied.value) {
        return;
    }
    RunStep(handOver.Write());
    CheckPoint();
    HeadFor(3);
    RunStep(
        ResToFile(handOver.InTemp(Product::ScriptRecord), kRecordId, "Custom", Existing::Replace));
    CheckPoint();
    HeadFor(4);
    RunStep(handOver.Start());
    CheckPoint();
}

// The script beside the running copy; whoever starts the copy by hand has none. One that
// somebody else holds for longer than a moment is left: the interpreter goes on reading it
// whether the copy runs or not.
void HoldOwnScript() {
    const Result<OwnLocation> own = OwnFile();
    if (!own.error) {
        HeldScript() = HoldFile(AddBackslash(own.value.folder) + Product::Script).value;
    }
}

bool IsFolder(const std::string& path) {
    const DWORD attributes = GetFileAttributesA(path.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

// The program folder in its long form. Between the test and this the folder may have gone;
// then the long form is incomplete and names some other folder, which must stay.
Result<std::string> LongProgramFolder(std::string_view folder) {
    const std::string result = AddBackslash(GetLongPath(folder));
    const std::string given = AddBackslash(folder);
    const auto depth = [](const std::string& path) {
        return std::count(path.begin(), path.end(), '\\');
    };
    if (depth(result) != depth(given) || result.find("\\\\") != std::string::npos ||
        !IsFolder(result)) {
        return SystemError(ERROR_PATH_NOT_FOUND, folder);
    }
    return result;
}

std::string GroupFolder() {
    std::string programs = AddBackslash(GetSpecialFolderPath(CSIDL_COMMON_PROGRAMS));
    if (programs.empty()) {
        programs = AddBackslash(GetSpecialFolderPath(CSIDL_PROGRAMS));
    }
    // Without either, "Tessorin\" alone would be relative to the current folder.
    return programs.empty() ? programs : Joined({programs, Product::GroupSuffix});
}

RuntimeError ShowProgressWindow() {
    // As long as the program: it outlives Main and is used until the sequence has ended.
    static frmUnInstProc progressWindow;
    return progressWindow.Show() ? RuntimeError{} : SystemError(GetLastError(), "frmUnInstProc");
}

void RelaunchedCopy(std::string_view arguments) {
    HeadFor(4);
    HoldOwnScript();
    const bool known = arguments.starts_with(Product::UninstallOption);
    const std::string_view folder =
        known ? arguments.substr(Product::UninstallOption.size()) : std::string_view();
    if (!FolderExists(folder)) {
        ShowMessage(Joined({"Unbekanntes Befehlszeilenargument (", Quoted(arguments), ")"}),
                    MB_OK | MB_ICONEXCLAMATION);
        return;
    }
    Folders& folders = Globals();
    Result<std::string> programFolder = LongProgramFolder(folder);
    RunStep(std::move(programFolder.error));
    CheckPoint();
    HeadFor(5);
    folders.ProgramFolder = std::move(programFolder.value);
    folders.SystemFolder = SystemFolderPath();
    folders.ProgramGroupFolder = GroupFolder();
    // Started by hand in the program folder, the program itself would keep it from being
    // removed; in the temporary folder, it would find libraries that others put there.
    SetCurrentDirectoryA(folders.SystemFolder.c_str());
    RunStep(ShowProgressWindow());
    CheckPoint();
}

}  // namespace

handles::File& HeldScript() {
    static handles::File script;
    return script;
}

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

void Main() {
    HeadFor(2);
    const std::string TempFolder = TempFolderPath();
    const std::string_view arguments = CommandArguments(GetCommandLineA());
    if (arguments.empty()) {
        FirstRun(TempFolder);
    } else {
        RelaunchedCopy(arguments);
    }
}
