// Path texts (Windows-1252). Nothing here shows a message.
#pragma once

#include <array>
#include <string>
#include <string_view>
#include <vector>

#include "common/modRuntimeError.h"
#include "platform/win32.h"

// Which entries a look-up may find besides ordinary files.
inline constexpr DWORD kFileMask = FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM;
inline constexpr DWORD kFolderMask = kFileMask | FILE_ATTRIBUTE_DIRECTORY;

// The stored name of the first directory entry that matches path (wildcards allowed; a
// path that ends in a backslash matches the entries in that folder). An entry is passed
// over if it is hidden, a system entry or a folder and the mask lacks that attribute.
// Empty when there is none; an error when the system cannot tell, for instance because the
// drive is not ready.
Result<std::string> LookUp(std::string_view path, DWORD mask);

// Whether a folder holds any entry but "." and "..", hidden ones included. Errors as for
// LookUp.
Result<bool> HasEntries(std::string_view folder);

// The full paths of what is in a folder and is a folder: those of its own (without "." and
// ".."), and those that only link to another one, that is junctions, mounted volumes and
// symbolic links. Where an entry has a short name, the path ends in that: the long one may
// have letters that the code page lacks.
struct Subfolders {
    std::vector<std::string> own, links;
};
// What could be listed: all there is, unless the system refuses.
Subfolders SubfoldersOf(std::string_view folder);

// What the system's queries for its folders write into, and the folder that one of them has
// written there, ending in a backslash. length is what the query returned; empty if that is
// none, or more than the buffer holds.
using FolderBuffer = std::array<char, 255>;
std::string FolderIn(const FolderBuffer& buffer, DWORD length);

// The form in which a folder is removed: first three characters in capitals, no trailing
// backslash except at a drive root. Empty for fewer than two characters.
std::string NormalizeFolderPath(std::string_view path);

// The path with every component as the file system stores its long name, drive letter in
// capitals, no trailing backslash (a drive root gives "C:"). A component that is not
// found contributes an empty name; a failing look-up ends the result early. So a result
// is to be trusted only if the caller knows that the whole path exists.
std::string GetLongPath(std::string_view path);

// True if path is a valid local path of an existing folder that can be entered. Changes
// the process's current folder while it runs and restores it.
bool FolderExists(std::string_view path);

// True if path is a valid local path at which a file (not a folder) is found.
bool FileExists(std::string_view path);

// True for a syntactically usable local absolute path; does not touch the file system.
bool IsValidPath(std::string_view path);
