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
    const auto& folders = Sandbox::Current().GetSettings().folders;
    const auto folder = folders.find(name);
    return folder == folders.end() ? std::string() : folder->second;
}

DWORD GiveKnown(const char* function, const char* name, LPSTR buffer, DWORD size) {
    Call call(function);
    const std::string path = KnownFolder(name);
    const BOOL there =
        call.Run([&] { return path.empty() ? ERROR_PATH_NOT_FOUND : ERROR_SUCCESS; });
    return there != FALSE ? Give(call, path, buffer, size) : 0;
}

}  // namespace

DWORD Give(const Call& call, const std::string& text, LPSTR buffer, DWORD size) {
    if (size <= text.size() || call.Less()) {
        return std::max(static_cast<DWORD>(text.size() + 1), call.Less() ? size + 1 : 0);
    }
    buffer[text.copy(buffer, size)] = '\0';
    return static_cast<DWORD>(text.size());
}

// A process starts where its starter says, which is where it is on the disk; one that a
// person starts from elsewhere, in its own folder.
const std::string& CurrentFolder() {
    std::string& folder = Files().currentFolder;
    if (folder.empty()) {
        const Sandbox& sandbox = Sandbox::Current();
        std::error_code error;
        folder = ProgramPath(sandbox.Folder(), fs::current_path(error));
        if (folder.empty()) {
            const std::string module = sandbox.ModulePath();
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
    Files().occupied = Descriptor(open(place.host.c_str(), O_RDONLY | O_CLOEXEC));
    flock(Files().occupied.Get(), LOCK_SH);
    return ERROR_SUCCESS;
}

}  // namespace hosted

// Whether the folder exists is not looked at.
DWORD WINAPI GetTempPathA(DWORD size, LPSTR buffer) {
    return hosted::GiveKnown("GetTempPathA", "temp", buffer, size);
}

UINT WINAPI GetSystemDirectoryA(LPSTR buffer, UINT size) {
    return hosted::GiveKnown("GetSystemDirectoryA", "system", buffer, size);
}

UINT WINAPI GetWindowsDirectoryA(LPSTR buffer, UINT size) {
    return hosted::GiveKnown("GetWindowsDirectoryA", "windows", buffer, size);
}

DWORD WINAPI GetCurrentDirectoryA(DWORD size, LPSTR buffer) {
    hosted::Call call("GetCurrentDirectoryA");
    return call.Run() != FALSE ? hosted::Give(call, hosted::CurrentFolder(), buffer, size) : 0;
}

BOOL WINAPI SetCurrentDirectoryA(LPCSTR path) {
    hosted::Call call("SetCurrentDirectoryA", path);
    return call.Run([&] { return hosted::SetCurrentFolder(path); });
}

// Only the two Programs folders; an unknown or unavailable one fails.
HRESULT WINAPI SHGetSpecialFolderLocation(HWND /*owner*/, int folder, LPITEMIDLIST* list) {
    hosted::Call call("SHGetSpecialFolderLocation", std::to_string(folder));
    *list = nullptr;
    const std::string path =
        hosted::KnownFolder(folder == CSIDL_COMMON_PROGRAMS ? "common-programs" : "programs");
    if (call.Run() == FALSE || path.empty()) {
        return hosted::kNoSuchFolder;
    }
    *list = std::make_unique<ITEMIDLIST>(ITEMIDLIST{path}).release();
    return ERROR_SUCCESS;
}

// path: room for MAX_PATH characters.
BOOL WINAPI SHGetPathFromIDListA(LPCITEMIDLIST list, LPSTR path) {
    hosted::Call call("SHGetPathFromIDListA", list == nullptr ? "" : list->path);
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
