// Folders that the system knows by name, and the current folder.
#include "platform/hosted/folders.h"

#include <cstdlib>
#include <cstring>

#include "platform/hosted/machine.h"
#include "platform/hosted/paths.h"
#include "platform/hosted/process_table.h"

// What the shell calls an item list stands for a folder here.
struct ITEMIDLIST {
    std::string path;
};

namespace hosted {
namespace {

constexpr HRESULT kNoSuchFolder = static_cast<HRESULT>(0x80004005);
constexpr HRESULT kSuccess = 0;

struct CurrentFolderState {
    std::string path;
};

// A folder of machine.ini; empty where it is not available.
std::string KnownFolder(const char* name) {
    const auto& folders = Machine::Current().GetSettings().folders;
    const auto folder = folders.find(name);
    return folder == folders.end() ? std::string() : folder->second;
}

// Writes a path as the Get...Path functions do: its length, or with too small a buffer the
// size needed, its NUL included.
DWORD Give(const std::string& path, LPSTR buffer, DWORD size) {
    if (size <= path.size()) {
        return static_cast<DWORD>(path.size() + 1);
    }
    std::memcpy(buffer, path.c_str(), path.size() + 1);
    return static_cast<DWORD>(path.size());
}

DWORD GiveKnown(Call& call, const char* name, bool backslash, LPSTR buffer, DWORD size) {
    if (call.Refused()) {
        return 0;
    }
    std::string path = KnownFolder(name);
    if (path.empty()) {
        call.Fail(ERROR_PATH_NOT_FOUND);
        return 0;
    }
    while (path.size() > 3 && path.back() == '\\') {
        path.pop_back();
    }
    if (backslash && path.back() != '\\') {
        path += '\\';
    }
    // "less": the folder has become longer than the buffer.
    return call.Less() ? size + 1 : Give(path, buffer, size);
}

std::string FolderAtStart() {
    const char* given = std::getenv(kCurrentFolderVariable);
    const std::string module = Machine::Current().ModulePath();
    if (given != nullptr && *given != '\0') {
        return FromUtf8(given);
    }
    if (module.empty()) {
        return "C:\\";
    }
    const std::size_t end = module.rfind('\\');
    return module.substr(0, end == 2 ? 3 : end);
}

}  // namespace

std::string CurrentFolder() {
    std::string& path = Machine::Current().Part<CurrentFolderState>().path;
    if (path.empty()) {
        path = FolderAtStart();
    }
    return path;
}

unsigned SetCurrentFolder(std::string_view path) {
    const MachineLock lock;
    const FullPath full = ParsePath(path);
    const Place place = LocateTarget(full);
    if (full.code != 0 || !place.Exists()) {
        return full.code != 0 ? full.code : place.code;
    }
    if (!place.IsFolder()) {
        return ERROR_DIRECTORY;
    }
    Machine::Current().Part<CurrentFolderState>().path = full.Text();
    OwnEntry().Change([&](ProcessRecord& process) {
        process.folder = IdOf(place.status);
        process.folderPath = full.Text();
    });
    return ERROR_SUCCESS;
}

}  // namespace hosted

// The path ends in a backslash; whether the folder exists is not looked at.
DWORD WINAPI GetTempPathA(DWORD size, LPSTR buffer) {
    hosted::Call call("GetTempPathA");
    return hosted::GiveKnown(call, "temp", true, buffer, size);
}

UINT WINAPI GetSystemDirectoryA(LPSTR buffer, UINT size) {
    hosted::Call call("GetSystemDirectoryA");
    return hosted::GiveKnown(call, "system", false, buffer, size);
}

UINT WINAPI GetWindowsDirectoryA(LPSTR buffer, UINT size) {
    hosted::Call call("GetWindowsDirectoryA");
    return hosted::GiveKnown(call, "windows", false, buffer, size);
}

DWORD WINAPI GetCurrentDirectoryA(DWORD size, LPSTR buffer) {
    hosted::Call call("GetCurrentDirectoryA");
    return call.Refused() ? 0 : hosted::Give(hosted::CurrentFolder(), buffer, size);
}

BOOL WINAPI SetCurrentDirectoryA(LPCSTR path) {
    hosted::Call call("SetCurrentDirectoryA", hosted::ToUtf8(path));
    if (call.Refused()) {
        return FALSE;
    }
    const DWORD code = hosted::SetCurrentFolder(path);
    return code == ERROR_SUCCESS ? TRUE : call.Fail(code);
}

// Only the two Programs folders; an unknown or unavailable one fails.
HRESULT WINAPI SHGetSpecialFolderLocation(HWND /*owner*/, int folder, LPITEMIDLIST* list) {
    hosted::Call call("SHGetSpecialFolderLocation", std::to_string(folder));
    *list = nullptr;
    if (call.Refused()) {
        return hosted::kNoSuchFolder;
    }
    std::string path;
    if (folder == CSIDL_COMMON_PROGRAMS) {
        path = hosted::KnownFolder("common-programs");
    } else if (folder == CSIDL_PROGRAMS) {
        path = hosted::KnownFolder("programs");
    }
    if (path.empty()) {
        call.Fail(ERROR_FILE_NOT_FOUND);
        return hosted::kNoSuchFolder;
    }
    *list = std::make_unique<ITEMIDLIST>(ITEMIDLIST{path}).release();
    return hosted::kSuccess;
}

// path: room for MAX_PATH characters.
BOOL WINAPI SHGetPathFromIDListA(LPCITEMIDLIST list, LPSTR path) {
    hosted::Call call("SHGetPathFromIDListA", list == nullptr ? "" : hosted::ToUtf8(list->path));
    if (call.Refused()) {
        return FALSE;
    }
    if (list == nullptr || list->path.size() >= MAX_PATH) {
        return call.Fail(ERROR_INVALID_PARAMETER);
    }
    std::memcpy(path, list->path.c_str(), list->path.size() + 1);
    return TRUE;
}

// Item lists are all that is allocated for the caller like this.
void WINAPI CoTaskMemFree(LPVOID memory) {
    const std::unique_ptr<ITEMIDLIST> list(static_cast<ITEMIDLIST*>(memory));
}
