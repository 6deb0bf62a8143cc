// Paths of the machine: taken apart as the system does it, and found on the disk.
#pragma once

#include <sys/stat.h>

#include <string>
#include <string_view>
#include <vector>

#include "platform/hosted/win32.h"

namespace hosted {

// A full path taken apart. code is not 0 where the text is no path.
struct FullPath {
    DWORD code = 0;
    char drive = 0;                  // capital letter
    std::vector<std::string> names;  // Windows-1252; none: the drive's root
    bool trailingBackslash = false;

    // "C:\a\b", a drive root with its backslash.
    [[nodiscard]] std::string Text() const;
};

enum class Wildcards { Refused, InLastName };

// The full path that a text means: relative ones against the process's current folder, "."
// and ".." resolved, blanks and dots at the end dropped.
FullPath ParsePath(std::string_view path, Wildcards wildcards = Wildcards::Refused);

// What lies at a path.
struct Place {
    DWORD code = 0;       // 0, 2 (the last name is missing), 3 (an earlier one is), 123, 206
    std::string host;     // UTF-8, on the disk; with code 2 where the item would lie
    struct stat status {  // of a link itself
    };
    bool isRoot = false;

    [[nodiscard]] bool Exists() const { return code == 0; }
    [[nodiscard]] bool IsLink() const { return S_ISLNK(status.st_mode); }
    // A link to a folder is one, a link to nothing too: only folders have links that can
    // be left behind like this.
    [[nodiscard]] bool IsFolder() const;
};

// Finds a path on the disk. Links on the way are followed, one at its end is not.
Place Locate(std::string_view path);
Place Locate(const FullPath& path);
// As Locate, but follows a link at the end as well.
Place LocateTarget(const FullPath& path);
Place LocateTarget(std::string_view path);

// The Win32 code for what a function of the disk left in errno.
DWORD CodeOfErrno(int error);

}  // namespace hosted
