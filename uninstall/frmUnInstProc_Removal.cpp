#include <vector>

#include "common/modGeneral.h"
#include "common/modPath.h"
#include "common/modRuntimeError.h"
#include "platform/ansi.h"
#include "registry/modRegistry.h"
#include "uninstall/frmUnInstProc.h"

using modRegistry::Silent;

namespace {

constexpr DWORD kWaitLimit = 500;  // milliseconds
constexpr DWORD kWaitStep = 10;

std::string_view NotDeleted() {
    return " konnte nicht gelöscht werden."_ansi;
}

std::string Quoted(std::string_view text) {
    return Joined({"\"", text, "\""});
}

std::string FullName(HKEY root, const std::string& key) {
    return Joined({"\"", modRegistry::RootKeyName(root), "\\", key, "\""});
}

// Raises when the item is not there.
bool IsReadOnly(const std::string& path) {
    const DWORD attributes = GetFileAttributesA(path.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES) {
        RaiseSystemError(GetLastError(), path);
    }
    return (attributes & FILE_ATTRIBUTE_READONLY) != 0;
}

// Deletes a file, or a folder with everything in it, through the shell: no progress
// dialog and no confirmation, but also no recycle bin.
void ShellDeleteItem(const std::string& path) {
    const std::string list = path + '\0';  // and the NUL behind it: the list's empty entry
    SHFILEOPSTRUCTA request{};
    request.wFunc = FO_DELETE;
    request.pFrom = list.c_str();
    request.fFlags = FOF_SILENT | FOF_NOCONFIRMATION;
    SHFileOperationA(&request);  // whether the item is gone is looked at, not believed
}

bool RemoveLink(const std::string& link) {
    return RemoveDirectoryA(link.c_str()) != FALSE;
}

// The folders directly in a folder. A failure that passes gets a second look; none if the
// folder cannot be listed, because then the shell cannot walk into it either.
std::vector<Subfolder> SubfoldersOrNone(const std::string& folder) {
    for (const bool last : {false, true}) {
        try {
            return ListFolders(folder);
        } catch (const RuntimeError&) {
            Sleep(last ? 0 : kWaitStep);
        }
    }
    return {};
}

// Takes the links out of a folder without touching what they lead to; shells before
// Windows Vista would empty the targets of junctions. True if none is left. The folders
// still to be looked at are kept in a list: how deep they go is not ours to know.
bool RemoveLinksIn(const std::string& folder) {
    bool noneLeft = true;
    std::vector<std::string> pending{folder};
    while (!pending.empty()) {
        const std::string current = std::move(pending.back());
        pending.pop_back();
        for (Subfolder& found : SubfoldersOrNone(current)) {
            if (found.isLink) {
                noneLeft = RemoveLink(found.path) && noneLeft;
            } else {
                pending.push_back(std::move(found.path));
            }
        }
    }
    return noneLeft;
}

void DeleteFolderOnce(const std::string& folder) {
    if (folder.ends_with('\\')) {
        return;  // a drive's root, which nobody can delete: what else lies there is not ours
    }
    if (IsFolderLink(folder)) {
        RemoveLink(folder);
    } else if (RemoveLinksIn(folder)) {
        ShellDeleteItem(folder);
    }
}

// Somebody may still hold the item for a moment: a process that is just ending, a virus
// scanner. The difference of the tick counts survives the wrap of the counter.
void DeleteUntilGone(const std::string& path, DWORD mask, void (*deleteOnce)(const std::string&)) {
    const DWORD start = GetTickCount();
    for (;;) {
        const DWORD now = GetTickCount();
        if (LookUp(path, mask).empty() || now - start > kWaitLimit) {
            return;
        }
        deleteOnce(path);
        forms::ProcessMessages();
        Sleep(kWaitStep);
    }
}

bool UserKeeps(const std::string& folder) {
    const std::string question = Joined(
        {"Das Verzeichnis \"", folder, "\" ist nicht leer. Soll es dennoch gelöscht werden?"_ansi});
    return ShowMessage(question, MB_YESNO | MB_ICONQUESTION) != IDYES;
}

bool DeleteFileWaiting(const std::string& path) {
    try {
        if (IsReadOnly(path)) {
            return false;
        }
        DeleteUntilGone(path, kFileMask, ShellDeleteItem);
    } catch (...) {
        // Whatever went wrong, also that the file was never there: only the last look
        // tells whether it is gone.
    }
    return LookUp(path, kFileMask).empty();
}

bool DeleteFolderWaiting(const std::string& folder) {
    try {
        if (IsReadOnly(folder) || (HasEntries(folder) && UserKeeps(folder))) {
            return false;
        }
        DeleteUntilGone(folder, kFolderMask, DeleteFolderOnce);
    } catch (...) {
        // As for a file.
    }
    return LookUp(folder, kFolderMask).empty();
}

}  // namespace

void frmUnInstProc::Log(std::string_view line) {
    ProblemLog += Joined({"-> ", line, "\r\n"});
}

void frmUnInstProc::LogNotDeleted(std::string_view kind, const std::string& name) {
    Log(Joined({kind, name, NotDeleted()}));
}

void frmUnInstProc::LogValue(HKEY root, const std::string& key, const std::string& name,
                             std::string_view failure) {
    Log(Joined({"Der Registrierungswert ", name.empty() ? "(Standard)" : Quoted(name),
                " im Schlüssel "_ansi, FullName(root, key), failure}));
}

void frmUnInstProc::RemoveFile(const std::string& path) {
    if (!DeleteFileWaiting(path)) {
        LogNotDeleted("Die Datei ", Quoted(path));
    }
}

void frmUnInstProc::RemoveShortcut(const std::string& path) {
    if (!DeleteFileWaiting(path)) {
        LogNotDeleted("Die Verknüpfung "_ansi, Quoted(path));
    }
}

void frmUnInstProc::RemoveFolder(const std::string& path) {
    const std::string folder = NormalizeFolderPath(path);
    if (!DeleteFolderWaiting(folder)) {
        LogNotDeleted("Das Verzeichnis ", Quoted(folder));
    }
}

void frmUnInstProc::SetRegValue(HKEY root, const std::string& key, const std::string& name,
                                DWORD type, std::string_view text) {
    if (modRegistry::WriteValue(root, key, name, type, text, Silent) != ERROR_SUCCESS) {
        LogValue(root, key, name, " konnte nicht geschrieben werden.");
    }
}

bool frmUnInstProc::RemoveRegValue(HKEY root, const std::string& key, const std::string& name) {
    const LONG code = modRegistry::DeleteValue(root, key, name, Silent);
    if (code == ERROR_SUCCESS || code == ERROR_FILE_NOT_FOUND) {
        return true;
    }
    LogValue(root, key, name, NotDeleted());
    return false;
}

void frmUnInstProc::RemoveRegKey(HKEY root, const std::string& key, bool withSubkeys) {
    if (!withSubkeys) {
        std::vector<std::string> subkeys;
        const LONG code = modRegistry::EnumSubkeys(root, key, subkeys, Silent);
        if (code != ERROR_SUCCESS || !subkeys.empty()) {
            return;
        }
    }
    LONG code = modRegistry::DeleteKeyTree(root, key, Silent);
    if (code == ERROR_SUCCESS && root == HKEY_CLASSES_ROOT) {
        // The classes root shows the user's branch over the machine's: when the key goes
        // from the one, it comes to light in the other.
        code = modRegistry::DeleteKeyTree(root, key, Silent);
    }
    if (code != ERROR_SUCCESS && code != ERROR_FILE_NOT_FOUND) {
        LogNotDeleted("Der Registrierungsschlüssel "_ansi, FullName(root, key));
    }
}
