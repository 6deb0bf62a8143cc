#include "platform/hosted/registry/view.h"

#include <algorithm>

#include "platform/hosted/machine.h"
#include "platform/hosted/registry/errors.h"

namespace hosted {

namespace {

REGSAM RightsOf(const Denial& denial) {
    return (denial.query ? KEY_QUERY_VALUE : 0) | (denial.set ? KEY_SET_VALUE : 0) |
           (denial.create ? KEY_CREATE_SUB_KEY : 0) |
           (denial.enumerate ? KEY_ENUMERATE_SUB_KEYS : 0) | (denial.deleting ? kDeleteRight : 0);
}

std::size_t Levels(std::string_view path) {
    return path.empty() ? 0
                        : 1 + static_cast<std::size_t>(std::count(path.begin(), path.end(), '\\'));
}

}  // namespace

REGSAM RefusedRights(std::string_view fullName) {
    REGSAM refused = 0;
    const Settings& settings = Machine::Current().GetSettings();
    for (const Denial& denial : settings.denied) {
        // A refusal under HKEY_CLASSES_ROOT is one for either half of it.
        for (const bool userClasses : {false, true}) {
            const auto real = RealKeyName(denial.key, settings.user, userClasses);
            if (real && EqualIgnoringCase(*real, fullName)) {
                refused |= RightsOf(denial);
            }
        }
    }
    return refused;
}

KeyView KeyView::Predefined(std::string_view root) {
    const std::string& user = Machine::Current().GetSettings().user;
    KeyView view;
    view.predefined_ = true;
    if (root == "HKEY_CLASSES_ROOT") {
        view.places_.push_back({*RealKeyName(root, user, true), nullptr});
    }
    view.places_.push_back({*RealKeyName(root, user), nullptr});
    return view;
}

KeyView KeyView::Below(std::string_view path) const {
    KeyView view;
    view.places_.reserve(places_.size());
    for (const Place& place : places_) {
        std::string name = place.name;
        if (!path.empty()) {
            name += '\\';
            name += path;
        }
        view.places_.push_back({std::move(name), nullptr});
    }
    return view;
}

LSTATUS KeyView::LookUp(const RegistryStore& store) {
    const bool sameTree = epoch_ == store.Epoch();
    if (!sameTree || changes_ != store.Tree().Changes()) {
        // A plain key once deleted stays so for its handle, even if one of the same name
        // is made again. After all was read anew only the name is left to go by.
        const bool byName = !sameTree || predefined_ || places_.size() > 1;
        for (Place& place : places_) {
            if (!sameTree || (place.key != nullptr && place.key->deleted)) {
                place.key = nullptr;
                subkeyChanges_ = 0;
            }
            if (place.key == nullptr && byName) {
                place.key = store.Tree().Find(place.name);
                subkeyChanges_ = place.key != nullptr ? 0 : subkeyChanges_;
            }
        }
        epoch_ = store.Epoch();
        changes_ = store.Tree().Changes();
    }
    return IsThere() || predefined_ ? ERROR_SUCCESS : kKeyDeleted;
}

const KeyView::Place& KeyView::Winner() const {
    return places_.front().key != nullptr ? places_.front() : places_.back();
}

LSTATUS KeyView::Grant(REGSAM rights) {
    rights_ = rights & kAllRights;
    return (RefusedRights(Winner().name) & rights_) != 0 ? ERROR_ACCESS_DENIED : ERROR_SUCCESS;
}

const KeyView::Place& KeyView::PlaceToCreate(const RegistryTree& tree, std::string& above) const {
    const Place* best = &places_.back();
    std::size_t fewest = SIZE_MAX;
    for (auto place = places_.rbegin(); place != places_.rend(); ++place) {  // the machine's first
        std::string_view missing;
        const auto deepest = tree.FindDeepest(place->name, missing);
        if (Levels(missing) < fewest) {
            best = &*place;
            fewest = Levels(missing);
            above = deepest->FullName();
        }
    }
    return *best;
}

const RegistryValue* KeyView::FindValue(std::string_view name) const {
    for (const Place& place : places_) {
        const bool readable =
            &place == &Winner() || (RefusedRights(place.name) & KEY_QUERY_VALUE) == 0;
        const RegistryValue* value =
            place.key != nullptr && readable ? place.key->FindValue(name) : nullptr;
        if (value != nullptr) {
            return value;
        }
    }
    return nullptr;
}

std::string KeyView::NextSubkey(std::string& after, bool first) const {
    const std::string* next = nullptr;
    const RegistryNode* subkey = nullptr;
    for (const Place& place : places_) {
        if (place.key == nullptr) {
            continue;
        }
        const auto& children = place.key->children;
        const auto found = first ? children.begin() : children.upper_bound(after);
        // Of two alike the first one, the user's, gives its spelling.
        if (found != children.end() && (next == nullptr || found->first < *next)) {
            next = &found->first;
            subkey = found->second.get();
        }
    }
    if (subkey == nullptr) {
        return {};
    }
    after = *next;
    return subkey->name;
}

std::string KeyView::SubkeyName(DWORD index) {
    std::uint64_t changes = 0;
    for (const Place& place : places_) {
        changes += place.key != nullptr ? place.key->changes + 1 : 0;
    }
    if (index < nextIndex_ || changes != subkeyChanges_) {
        nextIndex_ = 0;
        subkeyChanges_ = changes;
    }
    std::string name;
    do {
        name = NextSubkey(lastSubkey_, nextIndex_ == 0);
        if (name.empty()) {
            return {};  // nextIndex_ stays behind the last, for the next asking
        }
    } while (nextIndex_++ < index);
    return name;
}

}  // namespace hosted
