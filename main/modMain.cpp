// One program file for both runs: the argument decides which of them this is.
#include "main/modMain.h"

#include <algorithm>

#include "common/Product.h"
#include "common/modGeneral.h"
#include "common/modGetSpecialFolderPath.h"
#include "common/modPath.h"
#include "common/modText.h"
#include "main/HandOver.h"
#include "main/Places.h"
#include "main/modFile.h"
#include "uninstall/Globals.h"

namespace {

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

RuntimeError ShowProgressWindow(frmUnInstProc& window) {
    return window.Show() ? RuntimeError{} : SystemError(GetLastError(), "frmUnInstProc");
}

void StartCopy(std::string_view arguments, RelaunchedCopy& copy) {
    NextCheckPoint = {Procedure::Main, 4};
    copy.script = OpenedForReading(AddBackslash(OwnFile().value.folder) + Product::Script);
    const bool known = arguments.starts_with(Product::UninstallOption);
    const std::string_view folder =
        known ? arguments.substr(Product::UninstallOption.size()) : std::string_view();
    if (!FolderExists(folder)) {
        ShowMessage(Joined({"Unbekanntes Befehlszeilenargument (", Quoted(arguments), ")"}),
                    MB_OK | MB_ICONEXCLAMATION);
        return;
    }
    ProgramFolder = Defer(LongProgramFolder(folder));
    CheckPoint(Procedure::Main, 4);
    SystemFolder = SystemFolderPath();
    ProgramGroupFolder = GroupFolder();
    // Started by hand in the program folder, the program itself would keep it from being
    // removed; in the temporary folder, it would find libraries that others put there.
    SetCurrentDirectoryA(SystemFolder.c_str());
    Defer(ShowProgressWindow(copy.progressWindow));
    CheckPoint(Procedure::Main, 5);
}

}  // namespace

void Main(std::string_view arguments, RelaunchedCopy& copy) {
    if (arguments.empty()) {
        FirstRun();
    } else {
        StartCopy(arguments, copy);
    }
}
