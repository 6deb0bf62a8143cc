// Everything that a machine folder holds: files with attributes, registry keys with values.
// All texts are UTF-8.
#pragma once

#include <filesystem>
#include <map>
#include <stdexcept>
#include <string>

namespace report {

namespace fs = std::filesystem;

struct Entry {
    enum class Kind { File, Folder, Link } kind = Kind::File;
    std::string attributes;  // letters R, H, S
    fs::path host;
};
struct Value {
    std::string exact;  // as the registry's text form has it
    std::string shown;  // as people read it: "text" or a decimal number
    bool operator==(const Value& other) const { return exact == other.exact; }
};

using Entries = std::map<std::string, Entry>;  // by path, no trailing backslash
using Values = std::map<std::string, Value>;   // by name, empty for the default value
using Keys = std::map<std::string, Values>;    // by full name, root first

struct Snapshot {
    Entries entries;
    Keys keys;
    std::string user;  // the hive that is HKEY_CURRENT_USER
};

// Throws std::runtime_error with one sentence when the folder is no readable machine.
Snapshot ReadMachine(const fs::path& folder);

std::string ReadFile(const fs::path& file);

// Whether both are the same, to the last byte.
bool SameEntry(const Entry& left, const Entry& right);

}  // namespace report
