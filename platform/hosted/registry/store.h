// What this folder knows of a sandbox: its registry and the handles of keys.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "platform/hosted/call.h"
#include "platform/regtext/regtext.h"

namespace hosted {

inline constexpr REGSAM kAllRights =
    KEY_QUERY_VALUE | KEY_SET_VALUE | KEY_CREATE_SUB_KEY | KEY_ENUMERATE_SUB_KEYS;

inline constexpr std::uintptr_t kFirstRoot = 0x80000000;  // HKEY_CLASSES_ROOT, and so on

struct OpenedKey {
    std::string name;  // as the program knows it, root first, Windows-1252
    REGSAM rights = kAllRights;
    // From its first to its last one an enumeration gives the names that were there at its start;
    // to look each of them up anew would take a large key minutes.
    std::vector<std::string> subkeys = {};
};

struct RegistryState {
    explicit RegistryState(const Sandbox& sandbox);  // reads registry.reg
    static RegistryState& Ours();

    // A key under HKEY_CLASSES_ROOT is a view of two: it is there if the user or the machine has
    // it, its subkeys are those of both, a value is the user's if the user has it. What is
    // changed or deleted is the user's if there is one; what is deleted there comes back from
    // the machine's.

    // Those keys of which a key is a view, the one that wins first.
    std::vector<regtext::Keys::iterator> Find(const std::string& name);
    // A root is there even where nothing is kept of it.
    bool IsThere(const std::string& name) { return IsRoot(name) || !Find(name).empty(); }
    static bool IsRoot(const std::string& name) { return name.find('\\') == std::string::npos; }
    // The values of the key that wins, made where there is none: in HKEY_CLASSES_ROOT the
    // machine's.
    regtext::Values& Make(const std::string& name);
    // The names of the subkeys in order. Of two alike the user's gives its spelling.
    std::vector<std::string> SubkeysOf(const std::string& name);

    regtext::Keys keys;
    std::string user;  // the hive that is HKEY_CURRENT_USER, UTF-8
    std::map<std::uintptr_t, OpenedKey> handles;
    std::uintptr_t lastHandle = 0xFC;
    bool changed = false;
};

}  // namespace hosted
