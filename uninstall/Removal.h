// The removals of files, folders, shortcuts and registry entries. Each tries one removal; what
// fails becomes a line of the problem log, and the uninstall goes on.
#pragma once

#include <string>
#include <string_view>

#include "common/modRuntimeError.h"
#include "platform/win32.h"

enum class Subkeys { Remove, MustNotExist };  // what RemoveRegKey does about them

class Removal {
 public:
    // One line per failure, each beginning with "-> " and ending in CR LF, in the order in
    // which they happened. Windows-1252.
    std::string ProblemLog;
    void Log(std::string_view line);

    // Paths are absolute. An item that is not there is success. An error when the system
    // cannot tell whether the item is gone.
    RuntimeError RemoveFile(const std::string& path);
    RuntimeError RemoveShortcut(const std::string& path);
    // With everything in it; asks first if it is not empty. A drive's root stays and gets its line.
    RuntimeError RemoveFolder(const std::string& path);

    // The empty name is the key's default value. A value that cannot be written because its key
    // is missing is a failure; a value or key that is to go and is missing is not.
    void SetRegValue(HKEY root, const std::string& key, const std::string& name, DWORD type,
                     std::string_view text);
    void RemoveRegValue(HKEY root, const std::string& key, const std::string& name);
    void RemoveRegKey(HKEY root, const std::string& key, Subkeys subkeys);

 private:
    RuntimeError LogUnlessGone(Result<bool> gone, std::string_view kind, const std::string& path);
};
