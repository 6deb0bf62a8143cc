// The registry's keys and values in memory, without any file behind them.
//
// Names are Windows-1252 and compare without regard to case. A full name starts with its
// root, "HKEY_LOCAL_MACHINE\Software\X"; only HKEY_LOCAL_MACHINE and HKEY_USERS hold
// keys, the other two roots are views of them (registry_view.h).
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "platform/hosted/win32.h"

namespace hosted {

// The platform's documented limits: characters of a key's and of a value's name, and
// levels of keys below a root.
inline constexpr std::size_t kLongestKeyName = 255;
inline constexpr std::size_t kLongestValueName = 16383;
inline constexpr std::size_t kDeepestKey = 512;

struct RegistryValue {
    std::string name;  // empty: the key's default value
    DWORD type = 0;
    std::string data;
    std::uint64_t order = 0;  // values keep the order in which they came
};

struct RegistryNode {
    std::string name;
    RegistryNode* parent = nullptr;
    // Both by upper-case name: the order in which subkeys are enumerated.
    std::map<std::string, std::shared_ptr<RegistryNode>, std::less<>> children;
    std::map<std::string, RegistryValue, std::less<>> values;
    std::uint64_t changes = 0;  // how often a subkey came or went
    bool deleted = false;       // a handle may outlive its key

    [[nodiscard]] std::string FullName() const;
    // Null if there is no such value.
    [[nodiscard]] const RegistryValue* FindValue(std::string_view valueName) const;
};

// Takes the first part of a key path off its front.
std::string_view TakePathPart(std::string_view& path);

class RegistryTree {
 public:
    RegistryTree();

    [[nodiscard]] const RegistryNode& Top() const { return *top_; }  // of both roots
    // The key of this full name; null if it is not there.
    [[nodiscard]] std::shared_ptr<RegistryNode> Find(std::string_view fullName) const;
    // The deepest key on the way to fullName that is there, and the rest of the name.
    [[nodiscard]] std::shared_ptr<RegistryNode> FindDeepest(std::string_view fullName,
                                                            std::string_view& rest) const;
    // Finds the key or makes it and all that is missing above it.
    std::shared_ptr<RegistryNode> Create(std::string_view fullName);
    // Deletes the key, which is not a root, with all below it.
    void Delete(RegistryNode& key);
    void SetValue(RegistryNode& key, std::string_view name, DWORD type, std::string data);
    static bool DeleteValue(RegistryNode& key, std::string_view name);

    // How often a key came or went.
    [[nodiscard]] std::uint64_t Changes() const { return changes_; }

 private:
    std::shared_ptr<RegistryNode> top_;
    std::uint64_t changes_ = 0;
    std::uint64_t valuesMade_ = 0;
};

}  // namespace hosted
