// The text form of the registry, as regedit exports it (REGEDIT4), in UTF-8.
//
//     REGEDIT4
//
//     ; a comment
//     [HKEY_LOCAL_MACHINE\Software\Example]
//     @="the default value"
//     "Path"="C:\\Program Files"
//     "Count"=dword:00000005
//     "Bytes"=hex:01,02,03          hex(n) for a value of type n, \ at the line's end goes on
//     "Gone"=-                      deletes the value
//     [-HKEY_LOCAL_MACHINE\Software\Old]   deletes the key with all below it
//
// Reading takes LF and CRLF and the sections of all four roots; writing gives LF and the
// two roots that hold keys. These functions touch no file and end no process.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/hosted/registry/tree.h"

namespace hosted {

struct RegistryDamage {
    unsigned line = 0;  // from 1; 0: the file as a whole
    std::string what;   // what is wrong there, one clause in English
};

// The full name of the place where a key written under any of the four roots lies;
// userClasses asks for the user's half of HKEY_CLASSES_ROOT. Nothing for an unknown root.
std::optional<std::string> RealKeyName(std::string_view fullName, std::string_view user,
                                       bool userClasses = false);

// Reads a whole file into tree. user is the name of the hive that is HKEY_CURRENT_USER.
// After a damage the tree holds what stood before it.
std::optional<RegistryDamage> ReadRegistryText(std::string_view text, std::string_view user,
                                               RegistryTree& tree);
// The same for a piece that has no header and whose first line has the number firstLine.
std::optional<RegistryDamage> ReadRegistryChanges(std::string_view text, std::string_view user,
                                                  unsigned firstLine, RegistryTree& tree);

// The whole registry: keys in order of their names, values in the order they came. Equal
// registries give equal texts.
std::string RegistryText(const RegistryTree& tree);
// One line each, with its line feed, never continued: a line that is there is whole.
std::string KeyLine(std::string_view fullName);
std::string DeletedKeyLine(std::string_view fullName);
std::string ValueLine(std::string_view name, DWORD type, std::string_view data);
std::string DeletedValueLine(std::string_view name);

// Whether a line can hold this name: no NUL, carriage return or line feed in it.
bool IsWritableName(std::string_view name);

}  // namespace hosted
