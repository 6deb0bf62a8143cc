// Open files. Who else has a file open, and how, stands in the processes' entries.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "platform/hosted/files/attributes.h"
#include "platform/hosted/files/files.h"
#include "platform/hosted/process/process_table.h"

namespace hosted {
namespace {

struct OpenedHandle : HandleObject {
    Descriptor file;
    OpenedFile record;

    void Closing() override {
        OwnEntry().Change([this](ProcessRecord& process) {
            const auto opened = std::find(process.files.begin(), process.files.end(), record);
            if (opened != process.files.end()) {
                process.files.erase(opened);
            }
        });
    }
};

struct Wish {
    DWORD access, share, disposition, attributes;
};

DWORD CheckExisting(const Place& place, const Wish& wish) {
    if (wish.disposition == CREATE_NEW) {
        return ERROR_FILE_EXISTS;
    }
    if (place.IsFolder()) {
        return ERROR_ACCESS_DENIED;
    }
    const DWORD kept = KeptAttributes(place.host);
    if ((kept & FILE_ATTRIBUTE_READONLY) != 0 && (wish.access & GENERIC_WRITE) != 0) {
        return ERROR_ACCESS_DENIED;
    }
    // A file is not replaced by one that would lose these.
    constexpr DWORD kGuarded = FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM;
    if (wish.disposition == CREATE_ALWAYS &&
        ((kept & ~wish.attributes & kGuarded) != 0 || (kept & FILE_ATTRIBUTE_READONLY) != 0)) {
        return ERROR_ACCESS_DENIED;
    }
    return OpenConflict(IdOf(place.status), wish.access, wish.share);
}

DWORD CheckPlace(const Place& place, const Wish& wish) {
    if (place.Exists()) {
        return CheckExisting(place, wish);
    }
    const bool creates = wish.disposition != OPEN_EXISTING;
    return place.code == ERROR_FILE_NOT_FOUND && creates ? ERROR_SUCCESS : place.code;
}

int FlagsOf(const Wish& wish) {
    const bool reads = (wish.access & GENERIC_READ) != 0;
    const bool writes = (wish.access & GENERIC_WRITE) != 0;
    int flags = O_CLOEXEC | (writes ? (reads ? O_RDWR : O_WRONLY) : O_RDONLY);
    if (wish.disposition != OPEN_EXISTING) {
        flags |= O_CREAT;
    }
    if (wish.disposition == CREATE_ALWAYS) {
        flags |= O_TRUNC;
    }
    return flags;
}

// Opens a file; result: a Win32 code. existed tells whether it was there before.
DWORD Open(std::string_view path, const Wish& wish, HANDLE& handle, bool& existed) {
    const MachineLock lock;
    const Place place = LocateTarget(path);
    existed = place.Exists();
    if (const DWORD code = CheckPlace(place, wish); code != ERROR_SUCCESS) {
        return code;
    }
    auto opened = std::make_unique<OpenedHandle>();
    opened->name = ToUtf8(path);
    opened->file = Descriptor(open(place.host.c_str(), FlagsOf(wish), 0666));
    struct stat status {};
    if (!opened->file || fstat(opened->file.Get(), &status) != 0) {
        return CodeOfErrno(errno);
    }
    if (!existed || wish.disposition == CREATE_ALWAYS) {
        KeepAttributes(place.host, wish.attributes);
    }
    opened->record = {IdOf(status), wish.access, wish.share};
    OwnEntry().Change([&](ProcessRecord& process) { process.files.push_back(opened->record); });
    handle = HandleTable::Ours().Add(std::move(opened));
    return ERROR_SUCCESS;
}

// Moves count bytes by one of read and write, which may take several goes.
template <typename Move, typename Byte>
DWORD MoveAll(Move move, int file, Byte* bytes, DWORD count, DWORD& moved) {
    while (moved < count) {
        const ssize_t size = move(file, bytes + moved, count - moved);
        if (size < 0 && errno != EINTR) {
            return errno == EBADF ? ERROR_ACCESS_DENIED : CodeOfErrno(errno);
        }
        if (size == 0) {
            break;
        }
        moved += size > 0 ? static_cast<DWORD>(size) : 0;
    }
    return ERROR_SUCCESS;
}

}  // namespace
}  // namespace hosted

// Success with CREATE_ALWAYS on a file that was there leaves 183 as the last error code.
// flags: attributes of a new file. Write-through needs nothing here: what is written is
// seen by every process at once and outlives a kill.
HANDLE WINAPI CreateFileA(LPCSTR path, DWORD access, DWORD share, void* /*security*/,
                          DWORD disposition, DWORD flags, HANDLE /*templateFile*/) {
    const bool opensOnly = disposition == OPEN_EXISTING && (access & GENERIC_WRITE) == 0;
    hosted::Call call("CreateFileA", hosted::ToUtf8(path),
                      opensOnly ? hosted::Call::Looks : hosted::Call::Changes);
    if (call.Refused()) {
        return INVALID_HANDLE_VALUE;
    }
    HANDLE handle = INVALID_HANDLE_VALUE;
    bool existed = false;
    const hosted::Wish wish{access, share, disposition, flags & hosted::kKeptAttributes};
    const bool known = disposition >= CREATE_NEW && disposition <= OPEN_EXISTING;
    const DWORD code = known ? hosted::Open(path, wish, handle, existed) : ERROR_INVALID_PARAMETER;
    if (code != ERROR_SUCCESS) {
        call.Fail(code);
        return INVALID_HANDLE_VALUE;
    }
    const bool mayExist = disposition == CREATE_ALWAYS;
    SetLastError(mayExist && existed ? ERROR_ALREADY_EXISTS : ERROR_SUCCESS);
    return handle;
}

// Only OF_READ (0), OF_WRITE and OF_READWRITE (2) in the compatibility sharing mode, which
// shares reading and writing. The record receives the full path, or the code of a failure.
HFILE WINAPI OpenFile(LPCSTR path, OFSTRUCT* record, UINT style) {
    hosted::Call call("OpenFile", hosted::ToUtf8(path));
    *record = {};
    record->cBytes = sizeof *record;
    record->fFixedDisk = TRUE;
    DWORD code = call.Code();
    HANDLE handle = INVALID_HANDLE_VALUE;
    if (!call.Refused()) {
        bool existed = false;
        const DWORD access = style == 0          ? GENERIC_READ
                             : style == OF_WRITE ? GENERIC_WRITE
                                                 : GENERIC_READ | GENERIC_WRITE;
        const hosted::Wish wish{access, FILE_SHARE_READ | FILE_SHARE_WRITE, OPEN_EXISTING, 0};
        code = style > 2 ? ERROR_INVALID_PARAMETER
               : std::strlen(path) >= OFS_MAXPATHNAME
                   ? ERROR_FILENAME_EXCED_RANGE  // the record has no room for more
                   : hosted::Open(path, wish, handle, existed);
    }
    if (code != ERROR_SUCCESS) {
        record->nErrCode = static_cast<WORD>(code);
        call.Fail(code);
        return HFILE_ERROR;
    }
    const std::string full = hosted::ParsePath(path).Text();
    std::strncpy(record->szPathName, full.c_str(), sizeof record->szPathName - 1);
    return static_cast<HFILE>(reinterpret_cast<std::intptr_t>(handle));
}

BOOL WINAPI ReadFile(HANDLE file, LPVOID buffer, DWORD count, LPDWORD read, void* /*overlapped*/) {
    hosted::Call call("ReadFile", hosted::HandleTable::Ours().NameOf(file));
    *read = 0;
    if (call.Refused()) {
        return FALSE;
    }
    auto* opened = hosted::HandleTable::Ours().Find<hosted::OpenedHandle>(file);
    if (opened == nullptr) {
        return call.Fail(ERROR_INVALID_HANDLE);
    }
    const DWORD code = hosted::MoveAll(::read, opened->file.Get(), static_cast<char*>(buffer),
                                       call.Less() && count > 1 ? count / 2 : count, *read);
    return code == ERROR_SUCCESS ? TRUE : call.Fail(code);
}

BOOL WINAPI WriteFile(HANDLE file, LPCVOID data, DWORD count, LPDWORD written,
                      void* /*overlapped*/) {
    hosted::Call call("WriteFile", hosted::HandleTable::Ours().NameOf(file), hosted::Call::Changes);
    *written = 0;
    if (call.Refused()) {
        return FALSE;
    }
    auto* opened = hosted::HandleTable::Ours().Find<hosted::OpenedHandle>(file);
    if (opened == nullptr) {
        return call.Fail(ERROR_INVALID_HANDLE);
    }
    const DWORD code = hosted::MoveAll(::write, opened->file.Get(), static_cast<const char*>(data),
                                       count - (call.Less() && count > 0 ? 1 : 0), *written);
    return code == ERROR_SUCCESS ? TRUE : call.Fail(code);
}
