// Looking at files: attributes, short names, searches.
#include "platform/hosted/files/files.h"

#include <cstring>

#include "platform/hosted/files/attributes.h"
#include "platform/hosted/files/listing.h"
#include "platform/hosted/machine.h"

namespace hosted {
namespace {

FILETIME FileTimeOf(const timespec& time) {
    constexpr std::int64_t kSecondsFrom1601To1970 = 11644473600;
    const auto ticks = static_cast<std::uint64_t>(
        (time.tv_sec + kSecondsFrom1601To1970) * std::int64_t{10000000} + time.tv_nsec / 100);
    return {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
}

std::string NameOf(const std::string& host) {
    return host.substr(host.rfind('/') + 1);
}

std::string FolderOf(const std::string& host) {
    return host.substr(0, host.rfind('/'));
}

// Describes an entry; false if it is not there any more.
bool Describe(const std::string& folder, const std::string& stored, WIN32_FIND_DATAA& data) {
    const std::string host = stored == "."    ? folder
                             : stored == ".." ? FolderOf(folder)
                                              : folder + '/' + stored;
    struct stat status {};
    if (lstat(host.c_str(), &status) != 0) {
        return false;
    }
    data = {};
    data.dwFileAttributes = AttributesOf(host, status);
    data.ftCreationTime = FileTimeOf(status.st_ctim);
    data.ftLastAccessTime = FileTimeOf(status.st_atim);
    data.ftLastWriteTime = FileTimeOf(status.st_mtim);
    if ((data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0) {
        const auto size = static_cast<std::uint64_t>(status.st_size);
        data.nFileSizeHigh = static_cast<DWORD>(size >> 32);
        data.nFileSizeLow = static_cast<DWORD>(size);
    }
    if ((data.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0) {
        const bool toFolder = (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
        data.dwReserved0 = toFolder ? IO_REPARSE_TAG_MOUNT_POINT : IO_REPARSE_TAG_SYMLINK;
    }
    const std::string name = FromUtf8(stored);
    std::strncpy(data.cFileName, name.c_str(), sizeof data.cFileName - 1);
    if (stored != "." && stored != ".." && !IsShortName(name)) {
        const std::string alternate = ListingOf(folder).ShortName(name);
        std::strncpy(data.cAlternateFileName, alternate.c_str(),
                     sizeof data.cAlternateFileName - 1);
    }
    return true;
}

// The next entry of a search that is still there.
bool Next(FindState& find, WIN32_FIND_DATAA& data) {
    while (find.next < find.names.size()) {
        if (Describe(find.folder, find.names[find.next++], data)) {
            return true;
        }
    }
    return false;
}

// Fills find with what the pattern names; result: a Win32 code.
DWORD Search(FullPath pattern, FindState& find) {
    if (pattern.code != 0) {
        return pattern.code;
    }
    if (pattern.trailingBackslash || pattern.names.empty()) {
        const Place place = Locate(pattern);
        return place.code == ERROR_PATH_NOT_FOUND ? ERROR_PATH_NOT_FOUND : ERROR_FILE_NOT_FOUND;
    }
    const std::string last = pattern.names.back();
    if (!HasWildcards(last)) {
        const Place place = Locate(pattern);
        find.folder = FolderOf(place.host);
        find.names.push_back(NameOf(place.host));
        return place.code;
    }
    pattern.names.pop_back();
    const Place folder = LocateTarget(pattern.Text());
    if (!folder.Exists()) {
        return folder.code == ERROR_FILE_NOT_FOUND ? ERROR_PATH_NOT_FOUND : folder.code;
    }
    if (!folder.IsFolder()) {
        return ERROR_DIRECTORY;
    }
    find.folder = folder.host;
    if (!folder.isRoot) {
        for (const char* dots : {".", ".."}) {
            if (NameMatches(last, dots)) {
                find.names.emplace_back(dots);
            }
        }
    }
    for (const auto& [capitals, entry] : ListingOf(folder.host).All()) {
        if (NameMatches(last, entry.name)) {
            find.names.push_back(entry.stored);
        }
    }
    return ERROR_SUCCESS;
}

// The short form of a path that exists; names that are short stay as they were given.
std::string ShortPath(const FullPath& path) {
    FullPath way;
    way.drive = path.drive;
    std::string text{path.drive, ':'};
    for (const std::string& name : path.names) {
        text += '\\';
        if (IsShortName(name)) {
            text += name;
        } else {
            Listing& listing = ListingOf(LocateTarget(way.Text()).host);
            const Listing::Entry* entry = listing.Find(name);
            text += entry == nullptr ? name : listing.ShortName(entry->name);
        }
        way.names.push_back(name);
    }
    if (path.names.empty() || path.trailingBackslash) {
        text += '\\';
    }
    return text;
}

}  // namespace
}  // namespace hosted

// INVALID_FILE_ATTRIBUTES on failure: 2 or 3 for what is not there.
DWORD WINAPI GetFileAttributesA(LPCSTR path) {
    hosted::Call call("GetFileAttributesA", hosted::ToUtf8(path));
    if (call.Refused()) {
        return INVALID_FILE_ATTRIBUTES;
    }
    const hosted::Place place = hosted::Locate(path);
    if (!place.Exists()) {
        call.Fail(place.code);
        return INVALID_FILE_ATTRIBUTES;
    }
    return hosted::AttributesOf(place);
}

// The size needed with its NUL when it is too small, otherwise the length; 0 on failure.
// Read-only, hidden and system; the others come from what the item is.
BOOL WINAPI SetFileAttributesA(LPCSTR path, DWORD attributes) {
    hosted::Call call("SetFileAttributesA", hosted::ToUtf8(path), hosted::Call::Changes);
    if (call.Refused()) {
        return FALSE;
    }
    const hosted::MachineLock lock;
    const hosted::Place place = hosted::Locate(path);
    if (!place.Exists()) {
        return call.Fail(place.code);
    }
    hosted::KeepAttributes(place.host, attributes);
    return TRUE;
}

DWORD WINAPI GetShortPathNameA(LPCSTR longPath, LPSTR buffer, DWORD size) {
    hosted::Call call("GetShortPathNameA", hosted::ToUtf8(longPath));
    if (call.Refused()) {
        return 0;
    }
    const hosted::FullPath path = hosted::ParsePath(longPath);
    const hosted::Place place = hosted::Locate(path);
    if (!place.Exists()) {
        call.Fail(place.code);
        return 0;
    }
    const std::string text = hosted::ShortPath(path);
    // "less": it has grown since its size was asked for.
    if (size <= text.size() || call.Less()) {
        return std::max(static_cast<DWORD>(text.size() + 1), size + 1);
    }
    std::memcpy(buffer, text.c_str(), text.size() + 1);
    return static_cast<DWORD>(text.size());
}

// Entries come in the order of their names' capitals, as NTFS keeps them.
HANDLE WINAPI FindFirstFileA(LPCSTR pattern, WIN32_FIND_DATAA* data) {
    hosted::Call call("FindFirstFileA", hosted::ToUtf8(pattern));
    if (call.Refused()) {
        return INVALID_HANDLE_VALUE;
    }
    auto find = std::make_unique<hosted::FindState>();
    find->name = hosted::ToUtf8(pattern);
    DWORD code = hosted::Search(hosted::ParsePath(pattern, hosted::Wildcards::InLastName), *find);
    if (code == ERROR_SUCCESS && !hosted::Next(*find, *data)) {
        code = ERROR_FILE_NOT_FOUND;
    }
    if (code != ERROR_SUCCESS) {
        call.Fail(code);
        return INVALID_HANDLE_VALUE;
    }
    return hosted::HandleTable::Ours().Add(std::move(find));
}

BOOL WINAPI FindNextFileA(HANDLE handle, WIN32_FIND_DATAA* data) {
    hosted::Call call("FindNextFileA", hosted::HandleTable::Ours().NameOf(handle));
    if (call.Refused()) {
        return FALSE;
    }
    auto* find = hosted::HandleTable::Ours().Find<hosted::FindState>(handle);
    if (find == nullptr) {
        return call.Fail(ERROR_INVALID_HANDLE);
    }
    return hosted::Next(*find, *data) ? TRUE : call.Fail(ERROR_NO_MORE_FILES);
}
