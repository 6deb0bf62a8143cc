#include <vector>

#include "common/modGeneral.h"
#include "common/modPath.h"
#include "common/modText.h"
#include "platform/ansi.h"
#include "registry/modRegistry.h"
#include "uninstall/frmUnInstProc.h"

using modRegistry::Silent;

namespace {

std::string_view NotDeleted() {
    return " konnte nicht gelöscht werden."_ansi;
}

std::string FullName(HKEY root, const std::string& key) {
    return Quoted(Joined({modRegistry::RootKeyName(root), "\\", key}));
}

std::string ValueProblem(HKEY root, const std::string& key, const std::string& name,
                         std::string_view failure) {
    return Joined({"Der Registrierungswert ", name.empty() ? "(Standard)" : Quoted(name),
                   " im Schlüssel "_ansi, FullName(root, key), failure});
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
    if (found.error) {
        return std::move(found.error);
    }
    return found.value.empty();
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

// What a walk through a folder has found out.
struct LinkWalk {
    bool linkLeft = false;      // one could not be removed, or may be where only the shell looks
    bool unlistedLeft = false;  // what a folder holds could not be told
};

// A name with characters that the code page lacks, on a volume that keeps no short names: the
// shell can read it, we cannot.
bool IsIllegible(const std::string& path) {
    return path.find('?') != std::string::npos;
}

// Takes the links out of a folder without touching what they lead to; shells before
// Windows Vista would empty the targets of junctions. The folders still to be looked at are
// kept in a list: how deep they go is not ours to know.
LinkWalk RemoveLinksIn(const std::string& folder) {
    LinkWalk walk;
    std::vector<std::string> pending{folder};
    while (!pending.empty()) {
        const std::string current = std::move(pending.back());
        pending.pop_back();
        forms::ProcessMessages();
        std::vector<std::string> links;
        if (ListFolders(current, pending, links)) {
            (IsIllegible(current) ? walk.linkLeft : walk.unlistedLeft) = true;
        }
        for (const std::string& link : links) {
            walk.linkLeft = !RemoveLink(link) || walk.linkLeft;
        }
    }
    return walk;
}

enum class Attempt { First, Another };

// A folder that cannot be listed may hold a link, so it keeps the shell from being called at
// first; one that still cannot be listed is left to the shell, which cannot walk into it
// either. False if nothing was tried. The first look takes as long as it does: the time for
// attempts starts behind it.
bool DeleteFolderOnce(const std::string& folder, Attempt attempt, DWORD& start) {
    const Result<bool> isLink = IsFolderLink(folder);
    if (isLink.error) {
        return false;  // not known now: the next attempt asks again
    }
    if (isLink.value) {
        RemoveLink(folder);
        return true;
    }
    const LinkWalk walk = RemoveLinksIn(folder);
    start = attempt == Attempt::First ? GetTickCount() : start;
    if (walk.linkLeft || (walk.unlistedLeft && attempt == Attempt::First)) {
        return false;
    }
    ShellDeleteItem(folder);
    return true;
}

bool DeleteFileOnce(const std::string& path, Attempt /*attempt*/, DWORD& /*start*/) {
    ShellDeleteItem(path);
    return true;
}

// Somebody may still hold the item for a moment: a process that is just ending, a virus
// scanner. The difference of the tick counts survives the wrap of the counter. What the look
// cannot tell here the last one will.
void DeleteUntilGone(const std::string& path, DWORD mask,
                     bool (*deleteOnce)(const std::string&, Attempt, DWORD&)) {
    DWORD start = GetTickCount();
    bool tried = false;
    for (Attempt attempt = Attempt::First;; attempt = Attempt::Another) {
        const DWORD now = GetTickCount();
        const Result<bool> gone = IsGone(path, mask);
        if (gone.error || gone.value || (tried && now - start > kWaitLimit)) {
            return;
        }
        tried = deleteOnce(path, attempt, start) || attempt == Attempt::Another;
        forms::ProcessMessages();
        Sleep(kWaitStep);
    }
}

bool UserKeeps(const std::string& folder) {
    const std::string question = Joined({"Das Verzeichnis ", Quoted(folder),
                                         " ist nicht leer. Soll es dennoch gelöscht werden?"_ansi});
    return ShowMessage(question, MB_YESNO | MB_ICONQUESTION) != IDYES;
}

// Whatever goes wrong before the last look, also that the item was never there: only that
// look tells whether it is gone.
Result<bool> DeleteFileWaiting(const std::string& path) {
    const Result<bool> readOnly = IsReadOnly(path);
    if (readOnly.value) {
        return false;
    }
    if (!readOnly.error) {
        DeleteUntilGone(path, kFileMask, DeleteFileOnce);
    }
    return IsGone(path, kFileMask);
}

Result<bool> DeleteFolderWaiting(const std::string& folder) {
    const Result<bool> readOnly = IsReadOnly(folder);
    if (readOnly.value) {
        return false;
    }
    const Result<bool> hasEntries = readOnly.error ? readOnly : HasEntries(folder);
    if (hasEntries.value && UserKeeps(folder)) {
        return false;
    }
    // A drive's root nobody can delete, and what else lies there is not ours.
    const bool isRoot = folder.ends_with('\\');
    if (!hasEntries.error && !isRoot) {
        DeleteUntilGone(folder, kFolderMask, DeleteFolderOnce);
    }
    return IsGone(folder, kFolderMask);
}

// The line for a file, a folder or a shortcut that is still there.
RuntimeError LogUnlessGone(frmUnInstProc& form, Result<bool> gone, std::string_view kind,
                           const std::string& path) {
    if (!gone.error && !gone.value) {
        form.Log(Joined({kind, Quoted(path), NotDeleted()}));
    }
    return std::move(gone.error);
}

}  // namespace

RuntimeError frmUnInstProc::RemoveFile(const std::string& path) {
    return LogUnlessGone(*this, DeleteFileWaiting(path), "Die Datei ", path);
}

RuntimeError frmUnInstProc::RemoveShortcut(const std::string& path) {
    return LogUnlessGone(*this, DeleteFileWaiting(path), "Die Verknüpfung "_ansi, path);
}

RuntimeError frmUnInstProc::RemoveFolder(const std::string& path) {
    const std::string folder = NormalizeFolderPath(path);
    return LogUnlessGone(*this, DeleteFolderWaiting(folder), "Das Verzeichnis ", folder);
}

void frmUnInstProc::LogValueNotWritten(HKEY root, const std::string& key, const std::string& name) {
    Log(ValueProblem(root, key, name, " konnte nicht geschrieben werden."));
}

bool frmUnInstProc::SetRegValue(HKEY root, const std::string& key, const std::string& name,
                                DWORD type, std::string_view text) {
    if (modRegistry::WriteValue(root, key, name, type, text, Silent) != ERROR_SUCCESS) {
        LogValueNotWritten(root, key, name);
        return false;
    }
    return true;
}

bool frmUnInstProc::RemoveRegValue(HKEY root, const std::string& key, const std::string& name) {
    const LONG code = modRegistry::DeleteValue(root, key, name, Silent);
    if (code != ERROR_SUCCESS && code != ERROR_FILE_NOT_FOUND) {
        Log(ValueProblem(root, key, name, NotDeleted()));
    }
    return code == ERROR_SUCCESS;
}

bool frmUnInstProc::RemoveRegKey(HKEY root, const std::string& key, Subkeys subkeys) {
    if (subkeys == Subkeys::MustNotExist) {
        std::vector<std::string> names;
        const LONG code = modRegistry::EnumSubkeys(root, key, names, Silent);
        if (code != ERROR_SUCCESS || !names.empty()) {
            return false;
        }
    }
    const LONG first = modRegistry::DeleteKeyTree(root, key, Silent);
    LONG code = first;
    if (first == ERROR_SUCCESS && root == HKEY_CLASSES_ROOT) {
        // The classes root shows the user's branch over the machine's: when the key goes
        // from the one, it comes to light in the other.
        code = modRegistry::DeleteKeyTree(root, key, Silent);
    }
    if (code != ERROR_SUCCESS && code != ERROR_FILE_NOT_FOUND) {
        Log(Joined({"Der Registrierungsschlüssel "_ansi, FullName(root, key), NotDeleted()}));
    }
    return first == ERROR_SUCCESS;
}
