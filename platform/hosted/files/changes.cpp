// Deleting and copying files.
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <set>

#include "platform/hosted/files/files.h"

namespace hosted {
namespace {

constexpr DWORD kRootFolder = 0x74;  // "the source is a root folder"

// A running program cannot be opened for writing.
bool Runs(const fs::path& host) {
    return !Descriptor(open(host.c_str(), O_WRONLY | O_NOFOLLOW | O_CLOEXEC)) && errno == ETXTBSY;
}

// Deletes a file, a link (never what it points to) or an empty folder, unless it runs, is open or
// is somebody's current folder. Result: a Win32 code.
DWORD DeleteItem(const fs::path& host) {
    if (Runs(host)) {
        return ERROR_ACCESS_DENIED;
    }
    const Descriptor item(open(host.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
    if (item && flock(item.Get(), LOCK_EX | LOCK_NB) != 0) {
        return ERROR_SHARING_VIOLATION;
    }
    if (std::remove(host.c_str()) != 0) {
        return CodeOfErrno(errno);
    }
    KeepAttributes(host, 0);
    return ERROR_SUCCESS;
}

DWORD DeletePlace(const Place& place, bool folder) {
    if (!place.Exists()) {
        return place.code;
    }
    if (folder && !place.IsFolder()) {
        return ERROR_DIRECTORY;
    }
    const bool isReadOnly = (KeptAttributes(place.host) & FILE_ATTRIBUTE_READONLY) != 0;
    if (isReadOnly || place.IsRoot() || place.IsFolder() != folder) {
        return ERROR_ACCESS_DENIED;
    }
    return DeleteItem(place.host);
}

// Content, permissions (a copy of a program can be started) and attributes.
DWORD Copy(std::string_view from, std::string_view to, bool failIfExists) {
    Descriptor source;
    Descriptor target;
    constexpr DWORD kShare = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    DWORD code = OpenAs(from, {GENERIC_READ, kShare, OPEN_EXISTING}, source);
    if (code == ERROR_SUCCESS) {
        code = OpenAs(to, {GENERIC_WRITE, 0, failIfExists ? CREATE_NEW : 0}, target);
    }
    if (code != ERROR_SUCCESS) {
        return code;
    }
    const fs::path host = LocateTarget(to).host;
    const fs::path original = LocateTarget(from).host;
    std::error_code error;
    fs::copy_file(original, host, fs::copy_options::overwrite_existing, error);
    KeepAttributes(host, KeptAttributes(original));
    return CodeOfErrno(error.value());
}

// Removes an item with all that is in it, as the shell did before Windows Vista: a link to a
// folder is emptied like a folder, so what it leads to loses everything, and then goes itself.
// What cannot be removed stays, with the folders around it; everything else goes.
class TreeDeletion {
 public:
    // length: of the item's path as the program knows it, which no function of the system takes
    // beyond its limit. Result: the code of the first failure.
    DWORD Delete(const fs::path& host, std::size_t length) {
        if (length > kLongestPath) {
            return ERROR_FILENAME_EXCED_RANGE;
        }
        std::error_code error;  // a link to nothing leads to no folder
        const fs::path target = fs::canonical(host, error);
        const bool isInSandbox = !ProgramPath(Sandbox::Current().Folder(), target).empty();
        DWORD failure = ERROR_SUCCESS;
        // Links may lead in a circle, or to files that are nobody's to play with.
        if (fs::is_directory(target, error) && isInSandbox && entered_.insert(target).second) {
            for (const Entry& entry : List(target)) {
                const DWORD code = Delete(target / entry.stored, length + 1 + entry.name.size());
                failure = failure == ERROR_SUCCESS ? code : failure;
            }
        }
        if (failure == ERROR_SUCCESS) {
            failure = DeleteItem(host);
        }
        return failure == ERROR_FILE_NOT_FOUND ? ERROR_SUCCESS : failure;  // gone since the look
    }

 private:
    std::set<fs::path> entered_;
};

DWORD DeleteByShell(std::string_view path) {
    const Place place = Locate(path);
    if (!place.Exists() || place.IsRoot()) {
        return place.Exists() ? kRootFolder : place.code;
    }
    return TreeDeletion().Delete(place.host, place.path.size());
}

// The request as it arrives, for tests that compare it: a line of calls.txt of its own.
void RecordRequest(const SHFILEOPSTRUCTA& request) {
    std::size_t paths = 0;  // until the empty one that ends the list
    for (LPCSTR path = request.pFrom; *path != '\0'; path += std::strlen(path) + 1) {
        ++paths;
    }
    const Call record("SHFILEOPSTRUCTA",
                      "hwnd=" + std::string(request.hwnd == nullptr ? "null" : "window") +
                          " wFunc=" + std::to_string(request.wFunc) +
                          " pFrom=" + std::to_string(paths) +
                          " pTo=" + (request.pTo == nullptr ? "null" : "paths") +
                          " fFlags=" + std::to_string(request.fFlags));
}

}  // namespace
}  // namespace hosted

// Refuses folders, read-only files and running programs (5) and files that somebody has
// open without sharing deletion (32). Of a link only the link goes.
BOOL WINAPI DeleteFileA(LPCSTR path) {
    hosted::Call call("DeleteFileA", path, hosted::Call::Changes);
    return call.Run([&] { return hosted::DeletePlace(hosted::Locate(path), false); });
}

// An empty folder (145 otherwise), or a link to one: of that only the link goes. Refuses
// files (267), read-only folders (5) and anybody's current folder (32).
BOOL WINAPI RemoveDirectoryA(LPCSTR path) {
    hosted::Call call("RemoveDirectoryA", path, hosted::Call::Changes);
    return call.Run([&] { return hosted::DeletePlace(hosted::Locate(path), true); });
}

// An existing target is overwritten unless failIfExists (80) or it is read-only (5), running
// or open (32).
BOOL WINAPI CopyFileA(LPCSTR source, LPCSTR target, BOOL failIfExists) {
    hosted::Call call("CopyFileA", target, hosted::Call::Changes);
    return call.Run([&] { return hosted::Copy(source, target, failIfExists != 0); });
}

// Only FO_DELETE of one item, without questions: read-only ones go as well. Result: 0, or the
// code of the first item that stays.
int WINAPI SHFileOperationA(SHFILEOPSTRUCTA* operation) {
    hosted::RecordRequest(*operation);
    hosted::Call call("SHFileOperationA", operation->pFrom, hosted::Call::Changes);
    call.Run([&] { return hosted::DeleteByShell(operation->pFrom); });
    return static_cast<int>(call.Result());
}
