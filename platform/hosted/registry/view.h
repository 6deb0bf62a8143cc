// What a key handle stands for: a key, or HKEY_CLASSES_ROOT's merged view of two.
//
// HKEY_CLASSES_ROOT shows the user's Software\Classes over the machine's. A key is there
// if either has it, its subkeys are those of both, a value is the user's if the user has
// it. Values are set, and keys and values deleted, in the user's key where there is one
// and otherwise in the machine's; so what is deleted in the user's branch comes back from
// the machine's. New keys go to the machine's, below a key that is the user's alone to
// the user's.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/hosted/registry/store.h"
#include "platform/hosted/win32.h"

namespace hosted {

// Access rights of a handle, and one more for the refusals of machine.ini.
inline constexpr REGSAM kAllRights =
    KEY_QUERY_VALUE | KEY_SET_VALUE | KEY_CREATE_SUB_KEY | KEY_ENUMERATE_SUB_KEYS;
inline constexpr REGSAM kDeleteRight = 0x10000;  // DELETE, among the standard rights

// The rights that machine.ini refuses for the key of this real full name.
REGSAM RefusedRights(std::string_view fullName);

class KeyView {
 public:
    struct Place {
        std::string name;                   // full name
        std::shared_ptr<RegistryNode> key;  // null: not there
    };

    // The view of a predefined key, which is open and has all rights that are not refused.
    static KeyView Predefined(std::string_view root);
    // The key at path below this one, "" for the same key; look it up before use.
    [[nodiscard]] KeyView Below(std::string_view path) const;

    // Finds the keys as the registry now is. Gives 0, or 1018 if the key has been deleted.
    // A predefined key is there even when no key of its own is.
    LSTATUS LookUp(const RegistryStore& store);

    [[nodiscard]] const std::vector<Place>& Places() const { return places_; }
    // The place that wins: the first with a key, otherwise the last.
    [[nodiscard]] const Place& Winner() const;
    [[nodiscard]] bool IsThere() const { return Winner().key != nullptr; }
    [[nodiscard]] bool IsPredefined() const { return predefined_; }
    [[nodiscard]] std::uint64_t Epoch() const { return epoch_; }

    // 5 if one of these rights is refused here, otherwise 0 and the view has them.
    LSTATUS Grant(REGSAM rights);
    void GrantAllThatAreLeft() { rights_ = kAllRights & ~RefusedRights(Winner().name); }
    [[nodiscard]] bool MayUse(REGSAM right) const { return (rights_ & right) == right; }

    // Where a key that is missing is to be made, and the full name of the last key above
    // it that is there.
    [[nodiscard]] const Place& PlaceToCreate(const RegistryTree& tree, std::string& above) const;
    [[nodiscard]] const RegistryValue* FindValue(std::string_view name) const;
    // The name of the subkey with this index; empty behind the last. Asking for one index
    // after the other takes the same time for each.
    std::string SubkeyName(DWORD index);

 private:
    // The name of the first subkey behind "after" in upper case, which it becomes.
    [[nodiscard]] std::string NextSubkey(std::string& after, bool first) const;

    std::vector<Place> places_;  // the one that wins first
    REGSAM rights_ = 0;
    bool predefined_ = false;
    std::uint64_t epoch_ = 0, changes_ = 0;  // of the registry at the last LookUp
    DWORD nextIndex_ = 0;
    std::string lastSubkey_;           // upper case, with the index before nextIndex_
    std::uint64_t subkeyChanges_ = 0;  // valid while the subkeys are the same
};

}  // namespace hosted
