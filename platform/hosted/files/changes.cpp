// Deleting and copying files.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/hosted/files/attributes.h"
#include "platform/hosted/files/files.h"
#include "platform/hosted/process/process_table.h"

namespace hosted {
namespace {

// How many deletions of an item machine.ini still wants refused in this process.

DWORD CheckCopyTarget(const Place& source, const Place& target, bool failIfExists) {
    if (target.code == ERROR_FILE_NOT_FOUND) {
        return ERROR_SUCCESS;
    }
    if (!target.Exists()) {
        return target.code;
    }
    if (failIfExists) {
        return ERROR_FILE_EXISTS;
    }
    if (target.IsFolder()) {
        return ERROR_ACCESS_DENIED;
    }
    if (IdOf(source.status) == IdOf(target.status)) {
        return ERROR_SHARING_VIOLATION;
    }
    constexpr DWORD kProtected = FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN;
    if ((KeptAttributes(target.host) & kProtected) != 0) {
        return ERROR_ACCESS_DENIED;
    }
    return OpenConflict(IdOf(target.status), GENERIC_WRITE, 0);
}

// Content, permissions (a copy of a program can be started) and time of change.
DWORD CopyContent(const std::string& source, const std::string& target) {
    std::error_code error;
    fs::copy_file(source, target, fs::copy_options::overwrite_existing, error);
    if (!error) {
        const auto time = fs::last_write_time(source, error);
        if (!error) {
            fs::last_write_time(target, time, error);
        }
    }
    return CodeOfErrno(error.value());
}

DWORD Copy(std::string_view from, std::string_view to, bool failIfExists) {
    const MachineLock lock;
    const Place source = LocateTarget(from);
    if (!source.Exists()) {
        return source.code;
    }
    if (source.IsFolder()) {
        return ERROR_ACCESS_DENIED;
    }
    const DWORD unreadable = OpenConflict(IdOf(source.status), GENERIC_READ,
                                          FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE);
    if (unreadable != ERROR_SUCCESS) {
        return unreadable;
    }
    const Place target = LocateTarget(to);
    DWORD code = CheckCopyTarget(source, target, failIfExists);
    if (code == ERROR_SUCCESS) {
        code = CopyContent(source.host, target.host);
    }
    if (code == ERROR_SUCCESS) {
        KeepAttributes(target.host, KeptAttributes(source.host));
    }
    return code;
}

}  // namespace

DWORD RemoveItem(const std::string& host, const struct stat& status) {
    const bool isFolder = S_ISDIR(status.st_mode);
    if (isFolder && IsCurrentFolder(IdOf(status))) {
        return ERROR_SHARING_VIOLATION;
    }
    if (const DWORD code = isFolder ? 0 : DeleteConflict(IdOf(status)); code != ERROR_SUCCESS) {
        return code;
    }
    if ((isFolder ? rmdir(host.c_str()) : unlink(host.c_str())) != 0) {
        return CodeOfErrno(errno);
    }
    KeepAttributes(host, 0);
    return ERROR_SUCCESS;
}

namespace {

DWORD DeletePlace(const Place& place) {
    if (!place.Exists()) {
        return place.code;
    }
    if (place.IsFolder() || (KeptAttributes(place.host) & FILE_ATTRIBUTE_READONLY) != 0) {
        return ERROR_ACCESS_DENIED;
    }
    return RemoveItem(place.host, place.status);
}

DWORD RemoveFolderAt(const Place& place) {
    if (!place.Exists()) {
        return place.code;
    }
    if (!place.IsFolder()) {
        return ERROR_DIRECTORY;
    }
    if (place.isRoot || (KeptAttributes(place.host) & FILE_ATTRIBUTE_READONLY) != 0) {
        return ERROR_ACCESS_DENIED;
    }
    return RemoveItem(place.host, place.status);
}

}  // namespace
}  // namespace hosted

// Refuses folders, read-only files and running programs (5) and files that somebody has
// open without sharing deletion (32). Of a link only the link goes.
BOOL WINAPI DeleteFileA(LPCSTR path) {
    hosted::Call call("DeleteFileA", hosted::ToUtf8(path), hosted::Call::Changes);
    if (call.Refused()) {
        return FALSE;
    }
    const hosted::MachineLock lock;
    const DWORD code = hosted::DeletePlace(hosted::Locate(path));
    return code == ERROR_SUCCESS ? TRUE : call.Fail(code);
}

// An empty folder (145 otherwise), or a link to one: of that only the link goes. Refuses
// files (267), read-only folders (5) and anybody's current folder (32).
BOOL WINAPI RemoveDirectoryA(LPCSTR path) {
    hosted::Call call("RemoveDirectoryA", hosted::ToUtf8(path), hosted::Call::Changes);
    if (call.Refused()) {
        return FALSE;
    }
    const hosted::MachineLock lock;
    const DWORD code = hosted::RemoveFolderAt(hosted::Locate(path));
    return code == ERROR_SUCCESS ? TRUE : call.Fail(code);
}

// Copies content, attributes and time of change. An existing target is overwritten unless
// failIfExists (80) or it is read-only or hidden (5), running or open (32).
BOOL WINAPI CopyFileA(LPCSTR source, LPCSTR target, BOOL failIfExists) {
    hosted::Call call("CopyFileA", hosted::ToUtf8(target), hosted::Call::Changes);
    if (call.Refused()) {
        return FALSE;
    }
    const DWORD code = hosted::Copy(source, target, failIfExists != FALSE);
    return code == ERROR_SUCCESS ? TRUE : call.Fail(code);
}
