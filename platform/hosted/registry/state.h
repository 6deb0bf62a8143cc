// What this folder knows of a machine: its registry, who may do what there, and the handles.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "platform/hosted/machine.h"
#include "platform/hosted/registry/text.h"

namespace hosted {

// Access rights of a handle, and one more for the refusals of machine.ini.
inline constexpr REGSAM kAllRights =
    KEY_QUERY_VALUE | KEY_SET_VALUE | KEY_CREATE_SUB_KEY | KEY_ENUMERATE_SUB_KEYS;

inline constexpr std::uintptr_t kFirstRoot = 0x80000000;  // HKEY_CLASSES_ROOT, and so on

// A key under HKEY_CLASSES_ROOT is a view of two: it is there if the user or the machine has
// it, its subkeys are those of both, a value is the user's if the user has it. What is
// changed or deleted is the user's if there is one; what is deleted there comes back from
// the machine's.
struct OpenedKey {
    std::string name;                 // as the program knows it, root first, UTF-8
    std::vector<std::string> places;  // where it is kept, the one that wins first
    REGSAM rights = kAllRights;
    // What follows holds while no key comes or goes.
    std::uint64_t changes = ~std::uint64_t{0};
    std::vector<regtext::Keys::iterator> found;  // of the places, those that are there
    std::vector<std::string> subkeys;            // names, once they have been asked for

    [[nodiscard]] bool IsRoot() const { return name.find('\\') == std::string::npos; }
    // A root is there even where nothing is kept of it.
    [[nodiscard]] bool IsThere() const { return !found.empty() || IsRoot(); }
    [[nodiscard]] const std::string& Winner() const {
        return found.empty() ? places.back() : found.front()->first;
    }
};

struct RegistryState {
    explicit RegistryState(const Machine& machine);  // reads registry.reg
    static RegistryState& Ours();

    // The key of this name, whether it is there or not; no places for an unknown root.
    OpenedKey At(std::string name);
    void LookUp(OpenedKey& key);
    // Those of these rights that machine.ini refuses.
    [[nodiscard]] REGSAM Refused(const std::string& place, REGSAM rights) const;
    // After a key came or went.
    void CountChange() {
        ++changes;
        saved = false;
    }

    regtext::Keys keys;
    std::string user;  // the hive that is HKEY_CURRENT_USER, UTF-8
    std::map<std::string, REGSAM, regtext::ByName> refused;
    std::map<std::uintptr_t, OpenedKey> handles;
    std::uintptr_t lastHandle = 0xFC;
    std::uint64_t changes = 0;
    bool saved = true;
};

}  // namespace hosted
