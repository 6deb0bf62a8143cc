// The files of the sandbox. This folder turns paths of the program into places on the disk
// and answers for what lies there: names without regard to case, short names, attributes,
// links, who has what open. What the kernel keeps is left to it: the files themselves, which
// programs run, and who holds a file (a lock on it, which ends with its process).
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "platform/hosted/call.h"
#include "platform/hosted/descriptor.h"

namespace hosted {

// ---- paths.cpp -----------------------------------------------------------------------
constexpr std::size_t kLongestPath = MAX_PATH - 1;

// What lies at a path.
struct Place {
    DWORD code = 0;          // 0, 2 (the last name is missing), 3 (an earlier one is), 123, 206
    std::string path;        // the full path, Windows-1252: "C:\a\b", "C:\"
    fs::path host;           // on the disk; with code 2 where the item would lie
    fs::file_status status;  // of a link itself

    [[nodiscard]] bool Exists() const { return code == 0; }
    [[nodiscard]] bool IsLink() const { return fs::is_symlink(status); }
    [[nodiscard]] bool IsRoot() const { return path.ends_with('\\'); }
    // A link to a folder is one, a link to nothing too: only folders have links that can
    // be left over like this.
    [[nodiscard]] bool IsFolder() const;
};
// Finds a path on the disk. Links on the way are followed, one at its end is not.
Place Locate(std::string_view path);
// The same, but follows a link at the end as well.
Place LocateTarget(std::string_view path);
// The Win32 code for what a function of the disk left in errno.
DWORD CodeOfErrno(int error);

// ---- listing.cpp ---------------------------------------------------------------------
struct Entry {
    std::string stored;     // UTF-8, as on the disk
    std::string name;       // the same in Windows-1252
    std::string capitals;   // by which it is found
    std::string alternate;  // "TESSOR~1"; empty where the name is short itself
};
// What a folder holds, in the order of the names' capitals.
std::vector<Entry> List(const fs::path& folder);
// Where a name lies in a folder; where it would lie if it is missing.
fs::path Find(const fs::path& folder, std::string_view name);

// ---- attributes.cpp ------------------------------------------------------------------
// What the disk does not keep of an item is in attributes.txt.
struct Kept {
    DWORD attributes = 0;  // read-only, hidden, system
    DWORD tag = 0;         // of a reparse point, 0 where the disk tells what it is
};
// Reads the file now and not at its first use; a damaged one ends the process here.
void LoadAttributes();
DWORD KeptAttributes(const fs::path& host);
void KeepAttributes(const fs::path& host, DWORD attributes);
// All attributes of an item that exists, as GetFileAttributesA gives them.
DWORD AttributesOf(const Place& place);
// The tag of a reparse point, 0 for what is none.
DWORD TagOf(const Place& place);

// ---- handles.cpp ---------------------------------------------------------------------
// What a handle stands for: a file, a search, a process.
struct Handle {
    std::string name;  // what it was opened as, Windows-1252
    Descriptor file;
    std::vector<WIN32_FIND_DATAA> found;  // by a search and not yet given, the next one last
};
HANDLE AddHandle(Handle handle);
// Nothing, without a file, where there is no such handle.
Handle& HandleOf(HANDLE handle);

// Opens a file; result: a Win32 code. CREATE_NEW refuses one that is there, OPEN_EXISTING one
// that is not, any other disposition neither.
struct Wish {
    DWORD access, share, disposition;
};
DWORD OpenAs(std::string_view path, const Wish& wish, Descriptor& file);

// ---- folders.cpp ---------------------------------------------------------------------
// Gives a text to the program as most functions do: its length, or with too small a buffer the
// size needed, its NUL included. Call::Less: it has become longer than the buffer.
DWORD Give(const Call& call, const std::string& text, LPSTR buffer, DWORD size);
// The current folder: a full path without a backslash at its end unless it is a root.
const std::string& CurrentFolder();
// Nobody deletes it for as long as it is current. Result: a Win32 code.
DWORD SetCurrentFolder(std::string_view path);

struct FilesState {
    std::map<HANDLE, Handle> handles;
    std::intptr_t lastHandle = 0;
    std::string currentFolder;  // empty: where the process was started
    Descriptor occupied;
    std::map<std::string, Kept> attributes;  // by the path's capitals
    bool attributesRead = false;
};
inline FilesState& Files() {
    return StateIn(Sandbox::Current().files);
}

}  // namespace hosted
