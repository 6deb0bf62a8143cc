// Folders that the system knows by name, and the current folder.
#include <fcntl.h>
#include <sys/file.h>

#include <algorithm>

#include "platform/hosted/files/files.h"

// What the shell calls an item list stands for a folder here.
struct ITEMIDLIST {
    std::string path;
};

namespace hosted {
namespace {

constexpr HRESULT kNoSuchFolder = static_cast<HRESULT>(0x80004005);

// A folder of machine.ini; empty where it is not available.
std::string KnownFolder(const char* name) {
    const auto& folders = Machine::Current().GetSettings().folders;
    const auto folder = folders.find(name);
    return folder == folders.end() ? std::string() : folder->second;
}

// Writes a path as the Get...Path functions do: its length, or with too small a buffer the
// size needed, its NUL included. "less": it has become longer than the buffer.
DWORD Give(const Call& call, const std::string& path, LPSTR buffer, DWORD size) {
    if (size <= path.size() || call.Less()) {
        return std::max(static_cast<DWORD>(path.size() + 1), call.Less() ? size + 1 : 0);
    }
    buffer[path.copy(buffer, size)] = '\0';
    return static_cast<DWORD>(path.size());
}

DWORD GiveKnown(Call& call, const char* name, LPSTR buffer, DWORD size) {
    const std::string path = KnownFolder(name);
    if (path.empty()) {
        call.Fail(ERROR_PATH_NOT_FOUND);
    }
    return call.Refused() || path.empty() ? 0 : Give(call, path, buffer, size);
}

}  // namespace

// A process starts where its starter says, which is where it is on the disk; one that a
// person starts from elsewhere, in its own folder.
const std::string& CurrentFolder() {
    std::string& folder = Files().currentFolder;
    if (folder.empty()) {
        const Machine& machine = Machine::Current();
        std::error_code error;
        folder = MachinePath(machine.Folder(), fs::current_path(error));
        if (folder.empty()) {
            const std::string module = machine.ModulePath();
            folder = module.substr(0, module.rfind('\\'));
        }
        folder += folder.empty() ? "C:\\" : folder.ends_with(':') ? "\\" : "";
    }
    return folder;
}

DWORD SetCurrentFolder(std::string_view path) {
    const Place place = LocateTarget(path);
    if (!place.Exists() || !place.IsFolder()) {
        return place.Exists() ? ERROR_DIRECTORY : place.code;
    }
    Files().currentFolder = place.path;
    Files().occupied = Occupy(place.host);
    return ERROR_SUCCESS;
}

Descriptor Occupy(const fs::path& host) {
    Descriptor place(open(host.c_str(), O_RDONLY | O_CLOEXEC));
    flock(place.Get(), LOCK_SH);
    return place;
}

}  // namespace hosted

// Whether the folder exists is not looked at.
DWORD WINAPI GetTempPathA(DWORD size, LPSTR buffer) {
    hosted::Call call("GetTempPathA");
    return hosted::GiveKnown(call, "temp", buffer, size);
}

UINT WINAPI GetSystemDirectoryA(LPSTR buffer, UINT size) {
    hosted::Call call("GetSystemDirectoryA");
    return hosted::GiveKnown(call, "system", buffer, size);
}

UINT WINAPI GetWindowsDirectoryA(LPSTR buffer, UINT size) {
    hosted::Call call("GetWindowsDirectoryA");
    return hosted::GiveKnown(call, "windows", buffer, size);
}

DWORD WINAPI GetCurrentDirectoryA(DWORD size, LPSTR buffer) {
    const hosted::Call call("GetCurrentDirectoryA");
    return call.Refused() ? 0 : hosted::Give(call, hosted::CurrentFolder(), buffer, size);
}

BOOL WINAPI SetCurrentDirectoryA(LPCSTR path) {
    hosted::Call call("SetCurrentDirectoryA", path);
    return call.Run([&] { return hosted::SetCurrentFolder(path); });
}

// Only the two Programs folders; an unknown or unavailable one fails.
HRESULT WINAPI SHGetSpecialFolderLocation(HWND /*owner*/, int folder, LPITEMIDLIST* list) {
    const hosted::Call call("SHGetSpecialFolderLocation", std::to_string(folder));
    *list = nullptr;
    const std::string path = folder == CSIDL_COMMON_PROGRAMS
                                 ? hosted::KnownFolder("common-programs")
                             : folder == CSIDL_PROGRAMS ? hosted::KnownFolder("programs")
                                                        : std::string();
    if (call.Refused() || path.empty()) {
        return hosted::kNoSuchFolder;
    }
    *list = std::make_unique<ITEMIDLIST>(ITEMIDLIST{path}).release();
    return ERROR_SUCCESS;
}

// path: room for MAX_PATH characters.
BOOL WINAPI SHGetPathFromIDListA(LPCITEMIDLIST list, LPSTR path) {
    hosted::Call call("SHGetPathFromIDListA", list == nullptr ? "" : list->path.c_str());
    return call.Run([&] {
        if (list == nullptr || list->path.size() >= MAX_PATH) {
            return ERROR_INVALID_PARAMETER;
        }
        path[list->path.copy(path, MAX_PATH)] = '\0';
        return ERROR_SUCCESS;
    });
}

// Item lists are all that is allocated for the caller like this.
void WINAPI CoTaskMemFree(LPVOID memory) {
    const std::unique_ptr<ITEMIDLIST> list(static_cast<ITEMIDLIST*>(memory));
}
