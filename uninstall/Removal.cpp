// Files and folders go through the shell, and someone may still hold them for a moment: a process
// that is just ending, a virus scanner. So each deletion is tried for half a second, and whether
// it has worked is looked at, not believed.
#include "uninstall/Removal.h"

#include <vector>

#include "common/modGeneral.h"
#include "common/modPath.h"
#include "common/modText.h"
#include "platform/forms.h"
#include "registry/modRegistry.h"

using modRegistry::Silent;

namespace {

constexpr DWORD kWaitLimit = 500;  // milliseconds
constexpr DWORD kWaitStep = 10;

constexpr std::string_view kNotDeleted = " konnte nicht gelöscht werden.";

std::string FullName(HKEY root, const std::string& key) {
    return Quoted(Joined({modRegistry::RootKeyName(root), "\\", key}));
}

std::string ValueProblem(HKEY root, const std::string& key, const std::string& name,
                         std::string_view failure) {
    return Joined({"Der Registrierungswert ", name.empty() ? "(Standard)" : Quoted(name),
                   " im Schlüssel ", FullName(root, key), failure});
}

// An error when the item is not there.
Result<bool> IsReadOnly(const std::string& path) {
    const DWORD attributes = GetFileAttributesA(path.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES) {
        return SystemError(GetLastError(), path);
    }
    return (attributes & FILE_ATTRIBUTE_READONLY) != 0;
}

// Whether the item is gone; an error when the system cannot tell.
Result<bool> IsGone(const std::string& path, DWORD mask) {
    Result<std::string> found = LookUp(path, mask);
    if (found.Failed()) {
        return std::move(found.error);
    }
    return found.value.empty();
}

// Deletes a file, or a folder with everything in it, through the shell (SHFileOperationA): no
// progress dialog and no confirmation, but also no recycle bin. True if the shell reports success.
bool ShellDeleteItem(const std::string& path) {
    const std::string list = path + '\0';  // and the NUL after it: the list's empty entry
    SHFILEOPSTRUCTA request{};
    request.wFunc = FO_DELETE;
    request.pFrom = list.c_str();
    request.fFlags = FOF_SILENT | FOF_NOCONFIRMATION;
    return SHFileOperationA(&request) == 0;
}

// Takes the links out of a folder and its subfolders without touching what they lead to; shells
// before Windows Vista would empty it. False if a link stays. What cannot be listed is left to
// the shell, which cannot walk into it either. The folders that are still to be looked at are kept
// in a list: how deep they go is not ours to know.
bool RemoveLinks(const std::string& folder) {
    bool allGone = true;
    std::vector<std::string> pending{folder};
    while (!pending.empty()) {
        const std::string current = std::move(pending.back());
        pending.pop_back();
        const Subfolders subfolders = SubfoldersOf(current);
        for (const std::string& link : subfolders.links) {
            allGone = RemoveDirectoryA(link.c_str()) != FALSE && allGone;
        }
        pending.insert(pending.end(), subfolders.own.begin(), subfolders.own.end());
    }
    return allGone;
}

// Deletes until the item is gone or half a second has passed. The difference of the counts
// survives their wrap. What the look cannot tell here the caller's last one will.
void DeleteUntilGone(const std::string& path, DWORD mask) {
    const DWORD start = GetTickCount();
    for (;;) {
        const DWORD now = GetTickCount();
        const Result<bool> gone = IsGone(path, mask);
        if (gone.Failed() || gone.value || now - start > kWaitLimit) {
            return;
        }
        ShellDeleteItem(path);
        forms::ProcessMessages();
        Sleep(kWaitStep);
    }
}

bool UserKeeps(const std::string& folder) {
    const std::string question = Joined(
        {"Das Verzeichnis ", Quoted(folder), " ist nicht leer. Soll es dennoch gelöscht werden?"});
    return ShowMessage(question, MB_YESNO | MB_ICONQUESTION) != IDYES;
}

// Whatever goes wrong before the last look, also that the item was never there: only that
// look tells whether it is gone.
Result<bool> DeleteFileWaiting(const std::string& path) {
    const Result<bool> readOnly = IsReadOnly(path);
    if (readOnly.value) {
        return false;
    }
    if (!readOnly.Failed()) {
        DeleteUntilGone(path, kFileMask);
    }
    return IsGone(path, kFileMask);
}

Result<bool> DeleteFolderWaiting(const std::string& folder) {
    const Result<bool> readOnly = IsReadOnly(folder);
    if (readOnly.value) {
        return false;
    }
    const Result<bool> hasEntries = readOnly.Failed() ? readOnly : HasEntries(folder);
    if (hasEntries.value && UserKeeps(folder)) {
        return false;
    }
    if (!hasEntries.Failed() && RemoveLinks(folder)) {
        DeleteUntilGone(folder, kFolderMask);
    }
    return IsGone(folder, kFolderMask);
}

}  // namespace

void Removal::Log(std::string_view line) {
    ProblemLog += Joined({"-> ", line, kLineBreak});
}

// The line for a file, a folder or a shortcut that is still there.
RuntimeError Removal::LogUnlessGone(Result<bool> gone, std::string_view kind,
                                    const std::string& path) {
    if (!gone.Failed() && !gone.value) {
        Log(Joined({kind, Quoted(path), kNotDeleted}));
    }
    return std::move(gone.error);
}

RuntimeError Removal::RemoveFile(const std::string& path) {
    return LogUnlessGone(DeleteFileWaiting(path), "Die Datei ", path);
}

RuntimeError Removal::RemoveShortcut(const std::string& path) {
    return LogUnlessGone(DeleteFileWaiting(path), "Die Verknüpfung ", path);
}

RuntimeError Removal::RemoveFolder(const std::string& path) {
    const std::string folder = NormalizeFolderPath(path);
    // A drive's root nobody can delete, and what else lies there is not ours.
    const bool isRoot = folder.ends_with('\\');
    return LogUnlessGone(isRoot ? false : DeleteFolderWaiting(folder), "Das Verzeichnis ", folder);
}

void Removal::SetRegValue(HKEY root, const std::string& key, const std::string& name, DWORD type,
                          std::string_view text) {
    if (modRegistry::WriteValue(root, key, name, type, text, Silent) != ERROR_SUCCESS) {
        Log(ValueProblem(root, key, name, " konnte nicht geschrieben werden."));
    }
}

void Removal::RemoveRegValue(HKEY root, const std::string& key, const std::string& name) {
    const LONG code = modRegistry::DeleteValue(root, key, name, Silent);
    if (code != ERROR_SUCCESS && code != ERROR_FILE_NOT_FOUND) {
        Log(ValueProblem(root, key, name, kNotDeleted));
    }
}

void Removal::RemoveRegKey(HKEY root, const std::string& key, Subkeys subkeys) {
    if (subkeys == Subkeys::MustNotExist) {
        std::vector<std::string> names;
        const LONG listed = modRegistry::EnumSubkeys(root, key, names, Silent);
        if (listed != ERROR_SUCCESS || !names.empty()) {
            return;
        }
    }
    const LONG code = modRegistry::DeleteKeyTree(root, key, Silent);
    if (code != ERROR_SUCCESS && code != ERROR_FILE_NOT_FOUND) {
        Log(Joined({"Der Registrierungsschlüssel ", FullName(root, key), kNotDeleted}));
    }
}
