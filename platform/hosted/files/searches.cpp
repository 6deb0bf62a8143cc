// Looking at files: attributes, short names, searches.
#include <algorithm>
#include <cstring>

#include "platform/hosted/files/files.h"

namespace hosted {
namespace {

// Describes an entry; false if it is not there any more. Times and sizes are nobody's concern.
bool Describe(const fs::path& host, const Entry& entry, WIN32_FIND_DATAA& data) {
    Place place;
    place.host = host;
    std::error_code error;
    place.status = fs::symlink_status(host, error);
    if (!fs::exists(place.status)) {
        return false;
    }
    data = {};
    data.dwFileAttributes = AttributesOf(place);
    if (place.IsLink()) {
        data.dwReserved0 = place.IsFolder() ? IO_REPARSE_TAG_MOUNT_POINT : IO_REPARSE_TAG_SYMLINK;
    }
    std::strncpy(data.cFileName, entry.name.c_str(), sizeof data.cFileName - 1);
    std::strncpy(data.cAlternateFileName, entry.alternate.c_str(),
                 sizeof data.cAlternateFileName - 1);
    return true;
}

// The entry of a folder that is stored under this name.
Entry EntryOf(const fs::path& host) {
    for (Entry& entry : List(host.parent_path())) {
        if (entry.stored == host.filename()) {
            return std::move(entry);
        }
    }
    return {};
}

// Fills found with what the pattern names: one item, or with "*" at the end a folder's
// content. Result: a Win32 code.
DWORD Search(std::string_view pattern, std::vector<WIN32_FIND_DATAA>& found) {
    WIN32_FIND_DATAA data{};
    if (!pattern.ends_with("\\*")) {
        const Place place = Locate(pattern);
        if (place.Exists() && !place.IsRoot() && !pattern.ends_with('\\') &&
            Describe(place.host, EntryOf(place.host), data)) {
            found.push_back(data);
        }
        return place.code;
    }
    const Place folder = LocateTarget(pattern.substr(0, pattern.size() - 1));
    if (!folder.Exists()) {
        return folder.code == ERROR_FILE_NOT_FOUND ? ERROR_PATH_NOT_FOUND : folder.code;
    }
    std::vector<Entry> entries = List(folder.host);
    if (!folder.IsRoot()) {
        entries.insert(entries.begin(), {{".", ".", "", ""}, {"..", "..", "", ""}});
    }
    for (const Entry& entry : entries) {
        if (Describe(folder.host / entry.stored, entry, data)) {
            found.push_back(data);
        }
    }
    return ERROR_SUCCESS;
}

// The short form of a path that exists; names that are short come as they are stored.
std::string ShortPath(const Place& place) {
    const fs::path drive = Machine::Current().Folder() / "drives" / place.path.substr(0, 1);
    fs::path folder = drive;
    std::string text = place.path.substr(0, 2);
    for (const fs::path& name : place.host.lexically_relative(drive)) {
        folder /= name;
        const Entry entry = EntryOf(folder);
        text += '\\' + (entry.alternate.empty() ? entry.name : entry.alternate);
    }
    return text;
}

// The next item of a search; 18 after the last one.
BOOL Next(Call& call, Handle& find, WIN32_FIND_DATAA& data) {
    if (find.given == find.found.size()) {
        return call.Fail(ERROR_NO_MORE_FILES);
    }
    data = find.found[find.given++];
    return TRUE;
}

}  // namespace
}  // namespace hosted

// INVALID_FILE_ATTRIBUTES on failure: 2 or 3 for what is not there.
DWORD WINAPI GetFileAttributesA(LPCSTR path) {
    hosted::Call call("GetFileAttributesA", path);
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

// Read-only, hidden and system; the others come from what the item is.
BOOL WINAPI SetFileAttributesA(LPCSTR path, DWORD attributes) {
    hosted::Call call("SetFileAttributesA", path, hosted::Call::Changes);
    if (call.Refused()) {
        return FALSE;
    }
    const hosted::Place place = hosted::Locate(path);
    if (!place.Exists()) {
        return call.Fail(place.code);
    }
    hosted::KeepAttributes(place.host, attributes);
    return TRUE;
}

// The size needed with its NUL when it is too small, otherwise the length; 0 on failure.
DWORD WINAPI GetShortPathNameA(LPCSTR longPath, LPSTR buffer, DWORD size) {
    hosted::Call call("GetShortPathNameA", longPath);
    if (call.Refused()) {
        return 0;
    }
    const hosted::Place place = hosted::Locate(longPath);
    if (!place.Exists()) {
        call.Fail(place.code);
        return 0;
    }
    std::string text = place.IsRoot() ? place.path : hosted::ShortPath(place);
    text += std::string_view(longPath).ends_with('\\') && !text.ends_with('\\') ? "\\" : "";
    // "less": it has grown since its size was asked for.
    if (size <= text.size() || call.Less()) {
        return std::max(static_cast<DWORD>(text.size() + 1), size + 1);
    }
    std::memcpy(buffer, text.c_str(), text.size() + 1);
    return static_cast<DWORD>(text.size());
}

// Entries come in the order of their names' capitals, as NTFS keeps them.
HANDLE WINAPI FindFirstFileA(LPCSTR pattern, WIN32_FIND_DATAA* data) {
    hosted::Call call("FindFirstFileA", pattern);
    if (call.Refused()) {
        return INVALID_HANDLE_VALUE;
    }
    hosted::Handle find;
    find.name = pattern;
    const DWORD code = hosted::Search(pattern, find.found);
    if (code != ERROR_SUCCESS || find.found.empty()) {
        call.Fail(code != ERROR_SUCCESS ? code : ERROR_FILE_NOT_FOUND);
        return INVALID_HANDLE_VALUE;
    }
    hosted::Next(call, find, *data);
    return hosted::AddHandle(std::move(find));
}

BOOL WINAPI FindNextFileA(HANDLE handle, WIN32_FIND_DATAA* data) {
    hosted::Call call("FindNextFileA", hosted::NameOf(handle));
    hosted::Handle* const find = hosted::HandleBehind(handle);
    if (call.Refused()) {
        return FALSE;
    }
    return find == nullptr ? call.Fail(ERROR_INVALID_HANDLE) : hosted::Next(call, *find, *data);
}
