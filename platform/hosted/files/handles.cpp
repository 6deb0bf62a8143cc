// Handles, and the open files among them. Who has a file open and how is told by locks on
// bytes of it, which mean nothing to its content: one for each right that somebody has, one
// for each right that somebody denies all others. The kernel knows them by the opening, not
// by the process, as the system does.
#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>

#include "platform/hosted/files/files.h"

namespace hosted {
namespace {

struct Right {
    off_t had, denied;  // the bytes that are locked
    DWORD access, share;
};
constexpr std::array<Right, 2> kRights{
    {{0, 1, GENERIC_READ, FILE_SHARE_READ}, {2, 3, GENERIC_WRITE, FILE_SHARE_WRITE}}};
constexpr off_t kDeletionDenied = 4;

struct flock LockOf(off_t byte, short type) {
    struct flock lock {};
    lock.l_type = type;
    lock.l_whence = SEEK_SET;
    lock.l_start = byte;
    lock.l_len = 1;
    return lock;
}

void Lock(const Descriptor& file, off_t byte) {
    struct flock lock = LockOf(byte, F_RDLCK);
    fcntl(file.Get(), F_OFD_SETLK, &lock);
}

// By another opening than this one.
bool IsLocked(const Descriptor& file, off_t byte) {
    struct flock lock = LockOf(byte, F_WRLCK);
    return fcntl(file.Get(), F_OFD_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
}

// False if somebody stands against it; closing the file takes back what it has claimed.
bool Claim(const Descriptor& file, DWORD access, DWORD share) {
    bool free = true;
    for (const Right& right : kRights) {
        if ((access & right.access) != 0) {
            Lock(file, right.had);
            free = free && !IsLocked(file, right.denied);
        }
        if ((share & right.share) == 0) {
            Lock(file, right.denied);
            free = free && !IsLocked(file, right.had);
        }
    }
    if ((share & FILE_SHARE_DELETE) == 0) {
        Lock(file, kDeletionDenied);
    }
    return free;
}

DWORD CheckPlace(const Place& place, const Wish& wish) {
    if (!place.Exists()) {
        const bool creates = wish.disposition != OPEN_EXISTING;
        return place.code == ERROR_FILE_NOT_FOUND && creates ? ERROR_SUCCESS : place.code;
    }
    if (wish.disposition == CREATE_NEW) {
        return ERROR_FILE_EXISTS;
    }
    // A file is not replaced by one that would lose its being hidden or of the system.
    const DWORD kept = KeptAttributes(place.host);
    const DWORD guarded = wish.disposition == CREATE_ALWAYS ? kept & ~wish.attributes : 0;
    const bool writes = (wish.access & GENERIC_WRITE) != 0;
    const bool refused =
        place.IsFolder() || guarded != 0 || (writes && (kept & FILE_ATTRIBUTE_READONLY) != 0);
    return refused ? ERROR_ACCESS_DENIED : ERROR_SUCCESS;
}

// Moves count bytes by one of read and write, which may take several goes.
template <typename Move, typename Byte>
DWORD MoveAll(Move move, const Handle* handle, Byte* bytes, DWORD count, DWORD& moved) {
    while (handle != nullptr && moved < count) {
        const ssize_t size = move(handle->file.Get(), bytes + moved, count - moved);
        if (size < 0) {
            return CodeOfErrno(errno);
        }
        if (size == 0) {
            break;
        }
        moved += static_cast<DWORD>(size);
    }
    return handle == nullptr ? ERROR_INVALID_HANDLE : ERROR_SUCCESS;
}

// Opens a file as a handle; INVALID_HANDLE_VALUE with the last error code set on failure.
HANDLE Open(Call& call, const char* path, const Wish& wish) {
    Handle handle;
    handle.name = path;
    const DWORD code = OpenAs(path, wish, handle.file);
    if (code != ERROR_SUCCESS && code != ERROR_ALREADY_EXISTS) {
        call.Fail(code);
        return INVALID_HANDLE_VALUE;
    }
    SetLastError(code);
    return AddHandle(std::move(handle));
}

BOOL Close(const char* function, HANDLE handle) {
    Call call(function, NameOf(handle));
    // The program has done its part even where it is told that it failed.
    auto& open = Machine::Current().open;
    if (const auto name = open.find(ToUtf8(NameOf(handle))); name != open.end()) {
        open.erase(name);
    }
    if (call.Refused()) {
        return FALSE;
    }
    return Files().handles.erase(handle) != 0 ? TRUE : call.Fail(ERROR_INVALID_HANDLE);
}

}  // namespace

FilesState& Files() {
    std::shared_ptr<FilesState>& files = Machine::Current().files;
    if (files == nullptr) {
        files = std::make_shared<FilesState>();
    }
    return *files;
}

HANDLE AddHandle(Handle handle) {
    Machine::Current().open.insert(ToUtf8(handle.name));
    // Never used twice, so that a handle used after it was closed is noticed; small, since
    // OpenFile gives it as an int.
    const auto value = reinterpret_cast<HANDLE>(Files().lastHandle += 4);
    Files().handles.emplace(value, std::move(handle));
    return value;
}

Handle* HandleBehind(HANDLE handle) {
    const auto found = Files().handles.find(handle);
    return found == Files().handles.end() ? nullptr : &found->second;
}

const char* NameOf(HANDLE handle) {
    const Handle* found = HandleBehind(handle);
    return found == nullptr ? "" : found->name.c_str();
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
        return CodeOfErrno(errno);
    }
    if (!Claim(file, wish.access, wish.share)) {
        return ERROR_SHARING_VIOLATION;
    }
    const bool replaces = place.Exists() && wish.disposition == CREATE_ALWAYS;
    if (replaces && ftruncate(file.Get(), 0) != 0) {
        return CodeOfErrno(errno);
    }
    if (replaces || !place.Exists()) {
        KeepAttributes(place.host, wish.attributes);
    }
    return replaces ? ERROR_ALREADY_EXISTS : ERROR_SUCCESS;
}

bool IsHeld(const Descriptor& file) {
    return IsLocked(file, kDeletionDenied);
}

}  // namespace hosted

// Success with CREATE_ALWAYS on a file that was there leaves 183 as the last error code.
// flags: attributes of a new file. Write-through needs nothing here: what is written is
// seen by every process at once and outlives a kill.
HANDLE WINAPI CreateFileA(LPCSTR path, DWORD access, DWORD share, void* /*security*/,
                          DWORD disposition, DWORD flags, HANDLE /*templateFile*/) {
    const bool opensOnly = disposition == OPEN_EXISTING && (access & GENERIC_WRITE) == 0;
    hosted::Call call("CreateFileA", path, opensOnly ? hosted::Call::Looks : hosted::Call::Changes);
    if (call.Refused()) {
        return INVALID_HANDLE_VALUE;
    }
    return hosted::Open(call, path, {access, share, disposition, flags & hosted::kKeptAttributes});
}

// Only OF_WRITE, in the compatibility sharing mode, which shares reading and writing.
HFILE WINAPI OpenFile(LPCSTR path, OFSTRUCT* /*record*/, UINT /*style*/) {
    hosted::Call call("OpenFile", path);
    if (!call.Refused() && std::strlen(path) >= OFS_MAXPATHNAME) {
        call.Fail(ERROR_FILENAME_EXCED_RANGE);  // the record has no room for more
        return HFILE_ERROR;
    }
    HANDLE handle = INVALID_HANDLE_VALUE;
    if (!call.Refused()) {
        constexpr DWORD kShare = FILE_SHARE_READ | FILE_SHARE_WRITE;
        handle = hosted::Open(call, path, {GENERIC_WRITE, kShare, OPEN_EXISTING, 0});
    }
    return static_cast<HFILE>(reinterpret_cast<std::intptr_t>(handle));
}

BOOL WINAPI ReadFile(HANDLE file, LPVOID buffer, DWORD count, LPDWORD read, void* /*overlapped*/) {
    hosted::Call call("ReadFile", hosted::NameOf(file));
    *read = 0;
    if (call.Refused()) {
        return FALSE;
    }
    const DWORD code =
        hosted::MoveAll(::read, hosted::HandleBehind(file), static_cast<char*>(buffer),
                        call.Less() && count > 1 ? count / 2 : count, *read);
    return code == ERROR_SUCCESS ? TRUE : call.Fail(code);
}

BOOL WINAPI WriteFile(HANDLE file, LPCVOID data, DWORD count, LPDWORD written,
                      void* /*overlapped*/) {
    hosted::Call call("WriteFile", hosted::NameOf(file), hosted::Call::Changes);
    *written = 0;
    if (call.Refused()) {
        return FALSE;
    }
    const DWORD code =
        hosted::MoveAll(::write, hosted::HandleBehind(file), static_cast<const char*>(data),
                        count - (call.Less() && count > 0 ? 1 : 0), *written);
    return code == ERROR_SUCCESS ? TRUE : call.Fail(code);
}

BOOL WINAPI CloseHandle(HANDLE handle) {
    return hosted::Close("CloseHandle", handle);
}

BOOL WINAPI FindClose(HANDLE handle) {
    return hosted::Close("FindClose", handle);
}
