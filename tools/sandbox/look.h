// What a sandbox holds. All texts are UTF-8.
#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <string_view>

#include "platform/regtext/regtext.h"

namespace sandbox {

namespace fs = std::filesystem;

struct FileState {
    std::string attributes;  // letters R, H, S, and D (folder) or L (link)
    std::uint64_t size = 0;
    std::uint64_t digest = 0;
    std::string target{};  // of a link

    bool operator==(const FileState&) const = default;
    [[nodiscard]] bool IsFolder() const { return attributes.ends_with('D'); }
    // "folder", "link to /x", "12 bytes, RH".
    [[nodiscard]] std::string Text() const;
};

struct State {
    std::map<std::string, FileState, regtext::ByName> files;  // by path
    regtext::Keys keys;
    std::string user;  // the hive that is HKEY_CURRENT_USER
};

// Everything in the folder of a sandbox: every file of every drive and every key.
// Throws std::runtime_error with one sentence.
State Look(const fs::path& folder);

// FNV-1a of 64 bits: enough to tell two contents of a file apart.
std::uint64_t Digest(std::string_view bytes);

// Files of the disk. Both throw std::runtime_error.
std::string ReadBytes(const fs::path& file);
void WriteBytes(const fs::path& file, std::string_view bytes);

// Where a path of the sandbox lies in its folder, letter case as stored.
fs::path HostPath(const fs::path& folder, const std::string& path);
// The attributes that a sandbox keeps, letters by path.
using Attributes = std::map<std::string, std::string, regtext::ByName>;
Attributes ReadAttributes(const fs::path& folder);
void WriteAttributes(const fs::path& folder, const Attributes& attributes);

}  // namespace sandbox
