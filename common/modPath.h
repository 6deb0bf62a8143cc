// Path texts (Windows-1252). Nothing here shows a message.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "common/FunctionRef.h"
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

// Whether the folder at path is only a link to another one: a junction, a mounted volume or
// a symbolic link. Errors as for LookUp.
Result<bool> IsFolderLink(std::string_view path);

// The full paths of the folders in a folder, without "." and "..", apart from those that are
// only links, as IsFolderLink tells. Errors as for LookUp.
RuntimeError ListFolders(std::string_view folder, std::vector<std::string>& folders,
                         std::vector<std::string>& links);

// A folder from one of the system's queries, ending in a backslash. query fills a buffer of
// that size and returns the length that it wrote, or the length that it needs when the
// buffer is too small. Empty if it failed.
std::string QueriedFolder(FunctionRef<DWORD(char* buffer, DWORD size)> query);

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
