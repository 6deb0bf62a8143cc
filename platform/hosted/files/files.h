// The files of the machine. This folder turns paths of the machine into places on the disk
// and answers for what lies there: names without regard to case, short names, attributes,
// links, who has what open. What the kernel keeps is left to it: the files themselves, and
// who holds them (locks on the file or folder, which end with their process).
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/hosted/descriptor.h"
#include "platform/hosted/machine.h"

namespace hosted {

// ---- paths.cpp -----------------------------------------------------------------------
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
    // be left behind like this.
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
// The attributes that the disk does not carry are kept in attributes.txt.
constexpr DWORD kKeptAttributes =
    FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM;
struct Kept {
    DWORD attributes = 0;
    DWORD tag = 0;  // of a reparse point, 0 where the disk tells what it is
};
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
Handle& HandleBehind(HANDLE handle);

// Opens a file; result: a Win32 code. CREATE_NEW refuses one that is there, OPEN_EXISTING one
// that is not, any other disposition neither.
struct Wish {
    DWORD access, share, disposition;
};
DWORD OpenAs(std::string_view path, const Wish& wish, Descriptor& file);
// Whether somebody has it open without letting others delete it.
bool IsHeld(const Descriptor& file);

// ---- folders.cpp ---------------------------------------------------------------------
// The current folder: a full path without a backslash at its end unless it is a root.
const std::string& CurrentFolder();
DWORD SetCurrentFolder(std::string_view path);  // a Win32 code
// Keeps others from deleting a program that runs, or a folder that is current, for as long
// as the result lives.
Descriptor Occupy(const fs::path& host);

struct FilesState {
    std::map<HANDLE, Handle> handles;
    std::intptr_t lastHandle = 0;
    std::string currentFolder;  // empty: where the process was started
    Descriptor occupied;
    std::optional<std::map<std::string, Kept>> attributes;  // by the path's capitals
};
inline FilesState& Files() {
    return StateIn(Machine::Current().files);
}

}  // namespace hosted
