// Looking at files: attributes, short names, searches.
#include <algorithm>
#include <cstring>

#include "platform/hosted/files/files.h"

namespace hosted {
namespace {

// Adds an entry to what was found, unless it is not there any more. Times and sizes are
// nobody's concern.
void Describe(const fs::path& host, const Entry& entry, std::vector<WIN32_FIND_DATAA>& found) {
    Place place;
    place.host = host;
    std::error_code error;
    place.status = fs::symlink_status(host, error);
    if (!fs::exists(place.status)) {
        return;
    }
    WIN32_FIND_DATAA data{};
    data.dwFileAttributes = AttributesOf(place);
    data.dwReserved0 = TagOf(place);
    entry.name.copy(data.cFileName, sizeof data.cFileName - 1);
    entry.alternate.copy(data.cAlternateFileName, sizeof data.cAlternateFileName - 1);
    found.push_back(data);
}

// The entry of its folder for what lies at a place.
Entry EntryOf(const fs::path& host) {
    std::vector<Entry> entries = List(host.parent_path());
    const auto entry = std::find_if(entries.begin(), entries.end(), [&](const Entry& candidate) {
        return candidate.stored == host.filename();
    });
    return entry == entries.end() ? Entry{} : std::move(*entry);
}

bool IsFile(std::string_view path) {
    const Place place = LocateTarget(path);
    return place.Exists() && !place.IsFolder();
}

// What the pattern names: one item, or with "*" at the end a folder's content, in the order
// of the names' capitals. Result: a Win32 code, 267 where the folder to look in is a file.
DWORD Search(std::string_view pattern, std::vector<WIN32_FIND_DATAA>& found) {
    const bool all = pattern.ends_with("\\*");
    const Place place = all ? LocateTarget(pattern.substr(0, pattern.size() - 2)) : Locate(pattern);
    if (!place.Exists()) {
        const bool inFile = !all && IsFile(place.path.substr(0, place.path.rfind('\\')));
        const bool noFolder = all && place.code == ERROR_FILE_NOT_FOUND;
        return inFile ? ERROR_DIRECTORY : noFolder ? ERROR_PATH_NOT_FOUND : place.code;
    }
    if (all && !place.IsFolder()) {
        return ERROR_DIRECTORY;
    }
    if (all && !place.IsRoot()) {
        Describe(place.host, {".", ".", "", ""}, found);
        Describe(place.host, {"..", "..", "", ""}, found);
    }
    for (const Entry& entry : all ? List(place.host) : std::vector{EntryOf(place.host)}) {
        Describe(all ? place.host / entry.stored : place.host, entry, found);
    }
    return found.empty() ? ERROR_FILE_NOT_FOUND : ERROR_SUCCESS;
}

// The short form of a path that exists; names that are short come as they are stored.
std::string ShortPath(const Place& place) {
    fs::path folder = Sandbox::Current().Folder() / "drives" / place.path.substr(0, 1);
    std::string text = place.path.substr(0, 2);
    for (const fs::path& name : place.host.lexically_relative(folder)) {
        folder /= name;
        const Entry entry = EntryOf(folder);
        text += '\\' + (entry.alternate.empty() ? entry.name : entry.alternate);
    }
    return text;
}

// The next item of a search; 18 after the last one.
DWORD Next(Handle& find, WIN32_FIND_DATAA& data) {
    if (find.found.empty()) {
        return ERROR_NO_MORE_FILES;
    }
    data = find.found.back();
    find.found.pop_back();
    return ERROR_SUCCESS;
}

}  // namespace
}  // namespace hosted

// INVALID_FILE_ATTRIBUTES on failure: 2 or 3 for what is not there.
DWORD WINAPI GetFileAttributesA(LPCSTR path) {
    hosted::Call call("GetFileAttributesA", path);
    const hosted::Place place = hosted::Locate(path);
    const bool found = call.Run([&] { return place.code; }) != FALSE;
    return found ? hosted::AttributesOf(place) : INVALID_FILE_ATTRIBUTES;
}

// Read-only, hidden and system; the others come from what the item is.
BOOL WINAPI SetFileAttributesA(LPCSTR path, DWORD attributes) {
    hosted::Call call("SetFileAttributesA", path, hosted::Call::Changes);
    return call.Run([&] {
        const hosted::Place place = hosted::Locate(path);
        if (place.Exists()) {
            hosted::KeepAttributes(place.host, attributes);
        }
        return place.code;
    });
}

// The size needed with its NUL when it is too small, otherwise the length; 0 on failure.
DWORD WINAPI GetShortPathNameA(LPCSTR longPath, LPSTR buffer, DWORD size) {
    hosted::Call call("GetShortPathNameA", longPath);
    const hosted::Place place = hosted::Locate(longPath);
    if (call.Run([&] { return place.code; }) == FALSE) {
        return 0;
    }
    std::string text = place.IsRoot() ? place.path : hosted::ShortPath(place);
    text += std::string_view(longPath).ends_with('\\') && !place.IsRoot() ? "\\" : "";
    return hosted::Give(call, text, buffer, size);
}

HANDLE WINAPI FindFirstFileA(LPCSTR pattern, WIN32_FIND_DATAA* data) {
    hosted::Call call("FindFirstFileA", pattern);
    hosted::Handle find;
    find.name = pattern;
    if (call.Run([&] { return hosted::Search(pattern, find.found); }) == FALSE) {
        return INVALID_HANDLE_VALUE;
    }
    std::reverse(find.found.begin(), find.found.end());
    hosted::Next(find, *data);
    for (WIN32_FIND_DATAA& item : find.found) {  // "less": the volume keeps no short names
        item.cAlternateFileName[0] = call.Less() ? '\0' : item.cAlternateFileName[0];
    }
    return hosted::AddHandle(std::move(find));
}

BOOL WINAPI FindNextFileA(HANDLE handle, WIN32_FIND_DATAA* data) {
    hosted::Handle& find = hosted::HandleOf(handle);
    hosted::Call call("FindNextFileA", find.name);
    return call.Run([&] { return hosted::Next(find, *data); });
}
