// Handles, and the open files among them. Who has a file open is told by the kernel's own lock
// on it, shared by those who read and kept by one who writes: simpler than the system's six
// rights, and never kinder to the program.
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "platform/hosted/files/files.h"

namespace hosted {
namespace {

constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

// False if somebody has it open in a way that does not go with this.
bool Claim(const Descriptor& file, const Wish& wish) {
    const int lock = (wish.access & GENERIC_WRITE) != 0 ? LOCK_EX : LOCK_SH;
    if (flock(file.Get(), lock | LOCK_NB) != 0) {
        return false;
    }
    // Who denies nobody anything only had to ask.
    return wish.share != kShareAll || flock(file.Get(), LOCK_UN) == 0;
}

DWORD CheckPlace(const Place& place, const Wish& wish) {
    if (!place.Exists()) {
        const bool creates = wish.disposition != OPEN_EXISTING;
        return place.code == ERROR_FILE_NOT_FOUND && creates ? ERROR_SUCCESS : place.code;
    }
    const bool writes = (wish.access & GENERIC_WRITE) != 0;
    const bool isReadOnly = (KeptAttributes(place.host) & FILE_ATTRIBUTE_READONLY) != 0;
    return wish.disposition == CREATE_NEW               ? ERROR_FILE_EXISTS
           : place.IsFolder() || (writes && isReadOnly) ? ERROR_ACCESS_DENIED
                                                        : ERROR_SUCCESS;
}

// Opens a file as a handle; INVALID_HANDLE_VALUE on failure.
HANDLE Open(Call& call, const char* path, const Wish& wish) {
    Handle handle;
    handle.name = path;
    const BOOL opened = call.Run([&] { return OpenAs(path, wish, handle.file); });
    return opened != FALSE ? AddHandle(std::move(handle)) : INVALID_HANDLE_VALUE;
}

// It is closed even where a fault tells the program otherwise.
BOOL Close(const char* function, HANDLE handle) {
    Call call(function, HandleOf(handle).name);
    const bool known = Files().handles.erase(handle) != 0;
    return call.Run([&] { return known ? ERROR_SUCCESS : ERROR_INVALID_HANDLE; });
}

}  // namespace

HANDLE AddHandle(Handle handle) {
    // Never used twice, so that a handle used after it was closed is noticed; small, since
    // OpenFile gives it as an int.
    const auto value = reinterpret_cast<HANDLE>(Files().lastHandle += 4);
    Files().handles.emplace(value, std::move(handle));
    return value;
}

Handle& HandleOf(HANDLE handle) {
    static Handle none;
    const auto found = Files().handles.find(handle);
    return found == Files().handles.end() ? none : found->second;
}

DWORD OpenAs(std::string_view path, const Wish& wish, Descriptor& file) {
    const Place place = LocateTarget(path);
    if (const DWORD code = CheckPlace(place, wish); code != ERROR_SUCCESS) {
        return code;
    }
    const int create = place.Exists() ? 0 : O_CREAT | O_EXCL;
    const int mode = (wish.access & GENERIC_WRITE) != 0 ? O_RDWR : O_RDONLY;
    file = Descriptor(open(place.host.c_str(), O_CLOEXEC | mode | create, 0666));
    if (!file) {
        return CodeOfErrno(errno);  // of a running program, too
    }
    return Claim(file, wish) ? ERROR_SUCCESS : ERROR_SHARING_VIOLATION;
}

}  // namespace hosted

// CREATE_NEW or OPEN_EXISTING. No flag needs anything here: what is written is seen by every
// process at once and outlives a kill, and no new file has attributes.
HANDLE WINAPI CreateFileA(LPCSTR path, DWORD access, DWORD share, void* /*security*/,
                          DWORD disposition, DWORD /*flags*/, HANDLE /*templateFile*/) {
    const bool opensOnly = disposition == OPEN_EXISTING && (access & GENERIC_WRITE) == 0;
    hosted::Call call("CreateFileA", path, opensOnly ? hosted::Call::Looks : hosted::Call::Changes);
    return hosted::Open(call, path, {access, share, disposition});
}

// Only OF_WRITE, in the compatibility sharing mode, which shares reading and writing. The record
// has no room for a longer path.
HFILE WINAPI OpenFile(LPCSTR path, OFSTRUCT* /*record*/, UINT /*style*/) {
    hosted::Call call("OpenFile", path);
    if (std::strlen(path) >= OFS_MAXPATHNAME) {
        call.Run([] { return ERROR_FILENAME_EXCED_RANGE; });
        return HFILE_ERROR;
    }
    constexpr DWORD kShare = FILE_SHARE_READ | FILE_SHARE_WRITE;
    const HANDLE handle = hosted::Open(call, path, {GENERIC_WRITE, kShare, OPEN_EXISTING});
    return static_cast<HFILE>(reinterpret_cast<std::intptr_t>(handle));
}

// "less": all but a byte.
BOOL WINAPI WriteFile(HANDLE file, LPCVOID data, DWORD count, LPDWORD written,
                      void* /*overlapped*/) {
    const hosted::Handle& handle = hosted::HandleOf(file);
    hosted::Call call("WriteFile", handle.name, hosted::Call::Changes);
    count -= call.Less() && count > 0 ? 1 : 0;
    return call.Run([&] {
        const ssize_t size = write(handle.file.Get(), data, count);
        *written = size > 0 ? static_cast<DWORD>(size) : 0;
        return size < 0 ? hosted::CodeOfErrno(errno) : ERROR_SUCCESS;
    });
}

BOOL WINAPI CloseHandle(HANDLE handle) {
    return hosted::Close("CloseHandle", handle);
}

BOOL WINAPI FindClose(HANDLE handle) {
    return hosted::Close("FindClose", handle);
}
