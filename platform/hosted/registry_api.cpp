// The registry functions of win32.h.
#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <unordered_map>
#include <utility>

#include "platform/hosted/machine.h"
#include "platform/hosted/registry_errors.h"
#include "platform/hosted/registry_store.h"
#include "platform/hosted/registry_view.h"
#include "platform/hosted/win32.h"

namespace hosted {

namespace {

std::uintptr_t NumberOf(HKEY key) {
    return reinterpret_cast<std::uintptr_t>(key);
}

// Name of a predefined key, empty for any other.
std::string_view PredefinedName(HKEY key) {
    constexpr std::array<std::string_view, 4> kNames = {"HKEY_CLASSES_ROOT", "HKEY_CURRENT_USER",
                                                        "HKEY_LOCAL_MACHINE", "HKEY_USERS"};
    const std::uintptr_t index = NumberOf(key) - NumberOf(HKEY_CLASSES_ROOT);
    return index < kNames.size() ? kNames.at(index) : std::string_view();
}

// The open handles of this process on its machine.
class KeyHandles {
 public:
    static KeyHandles& All() { return Machine::Current().Part<KeyHandles>(); }

    HKEY Open(KeyView view, std::string name) {
        // Numbers are not used again: a handle that was closed stays unknown.
        lastNumber_ += 4;
        views_.emplace(lastNumber_, std::move(view));
        names_.emplace(lastNumber_, std::move(name));
        return reinterpret_cast<HKEY>(lastNumber_);
    }

    bool Close(HKEY key) {
        names_.erase(NumberOf(key));
        return views_.erase(NumberOf(key)) != 0;
    }

    // The key's full name as the program has opened it, root first; with a subkey's.
    std::string NameOf(HKEY key, LPCSTR subKey = nullptr) {
        std::string name(PredefinedName(key));
        if (const auto found = names_.find(NumberOf(key)); name.empty() && found != names_.end()) {
            name = found->second;
        }
        if (subKey != nullptr && *subKey != '\0') {
            name.append("\\").append(subKey);
        }
        return name;
    }

    // Gives the view of a handle as the registry now is, or 6 or 1018.
    LSTATUS Find(HKEY key, const RegistryStore& store, KeyView*& view) {
        const std::string_view root = PredefinedName(key);
        auto found = views_.find(NumberOf(key));
        if (!root.empty() && (found == views_.end() || found->second.Epoch() != store.Epoch())) {
            found = views_.insert_or_assign(NumberOf(key), KeyView::Predefined(root)).first;
            found->second.GrantAllThatAreLeft();
        }
        if (found == views_.end()) {
            return ERROR_INVALID_HANDLE;
        }
        view = &found->second;
        return view->LookUp(store);
    }

 private:
    std::unordered_map<std::uintptr_t, KeyView> views_;
    std::unordered_map<std::uintptr_t, std::string> names_;
    std::uintptr_t lastNumber_ = 0xFC;
};

// Takes a key path as a caller gives it: repeated and trailing backslashes mean nothing, a
// leading one is refused.
LSTATUS ReadPath(LPCSTR subKey, std::string& path) {
    std::string_view rest = subKey == nullptr ? "" : subKey;
    if (rest.starts_with('\\')) {
        return kBadPath;
    }
    while (!rest.empty()) {
        const std::string_view part = TakePathPart(rest);
        // No key can have such a name, so this is a bad argument rather than a missing
        // key; a line break is the one thing that the registry's file cannot hold.
        if (part.size() > kLongestKeyName || !IsWritableName(part)) {
            return ERROR_INVALID_PARAMETER;
        }
        if (!part.empty()) {
            path += path.empty() ? "" : "\\";
            path += part;
        }
    }
    return ERROR_SUCCESS;
}

// Resolves handle and path; the view below them need not be there.
LSTATUS Reach(HKEY key, LPCSTR subKey, const RegistryStore& store, KeyView& target) {
    KeyView* view = nullptr;
    if (const LSTATUS code = KeyHandles::All().Find(key, store, view); code != 0) {
        return code;
    }
    std::string path;
    if (const LSTATUS code = ReadPath(subKey, path); code != 0) {
        return code;
    }
    target = path.empty() ? *view : view->Below(path);
    target.LookUp(store);
    return ERROR_SUCCESS;
}

LSTATUS OpenKey(HKEY key, LPCSTR subKey, REGSAM access, HKEY* result) {
    if (result == nullptr) {
        return ERROR_INVALID_PARAMETER;
    }
    *result = nullptr;
    KeyView target;
    LSTATUS code = Reach(key, subKey, RegistryStore::Current(), target);
    if (code == 0 && !target.IsThere() && !target.IsPredefined()) {
        code = ERROR_FILE_NOT_FOUND;
    }
    if (code == 0) {
        code = target.Grant(access);
    }
    if (code == 0) {
        *result = KeyHandles::All().Open(std::move(target), KeyHandles::All().NameOf(key, subKey));
    }
    return code;
}

// Makes the key and those missing above it. The right to do so is that of the last key
// that is there, whatever the handle was opened for: the platform checks it so.
LSTATUS MakeKey(RegistryStore& store, KeyView& target) {
    std::string above;
    const KeyView::Place& place = target.PlaceToCreate(store.Tree(), above);
    if ((RefusedRights(above) & KEY_CREATE_SUB_KEY) != 0) {
        return ERROR_ACCESS_DENIED;
    }
    const auto levels = std::count(place.name.begin(), place.name.end(), '\\');
    if (static_cast<std::size_t>(levels) > kDeepestKey) {
        return kNoSystemResources;
    }
    std::shared_ptr<RegistryNode> made;
    if (const LSTATUS code = store.Create(place.name, made); code != 0) {
        return code;
    }
    // A view without a key has never been found yet: it must look by name.
    target = target.Below({});
    return target.LookUp(store);
}

LSTATUS CreateKey(HKEY key, LPCSTR subKey, HKEY* result) {
    if (result == nullptr) {
        return ERROR_INVALID_PARAMETER;
    }
    if (subKey == nullptr) {  // documented for predefined keys only: the handle itself
        *result = key;
        return PredefinedName(key).empty() ? ERROR_INVALID_PARAMETER : ERROR_SUCCESS;
    }
    *result = nullptr;
    const MachineLock lock;
    RegistryStore& store = RegistryStore::Current();
    KeyView target;
    LSTATUS code = Reach(key, subKey, store, target);
    if (code == 0 && !target.IsThere() && !target.IsPredefined()) {
        code = MakeKey(store, target);
    }
    if (code == 0) {
        target.GrantAllThatAreLeft();  // as with MAXIMUM_ALLOWED
        *result = KeyHandles::All().Open(std::move(target), KeyHandles::All().NameOf(key, subKey));
    }
    return code;
}

LSTATUS QueryValue(HKEY key, LPCSTR name, const DWORD* reserved, LPDWORD type, LPBYTE data,
                   LPDWORD size) {
    KeyView* view = nullptr;
    if (const LSTATUS code = KeyHandles::All().Find(key, RegistryStore::Current(), view);
        code != 0) {
        return code;
    }
    if (reserved != nullptr || (data != nullptr && size == nullptr)) {
        return ERROR_INVALID_PARAMETER;
    }
    if (!view->MayUse(KEY_QUERY_VALUE)) {
        return ERROR_ACCESS_DENIED;
    }
    const RegistryValue* value = view->FindValue(name == nullptr ? "" : name);
    if (value == nullptr) {
        return ERROR_FILE_NOT_FOUND;
    }
    if (type != nullptr) {
        *type = value->type;
    }
    if (size == nullptr) {
        return ERROR_SUCCESS;
    }
    const DWORD room = std::exchange(*size, static_cast<DWORD>(value->data.size()));
    if (data == nullptr) {
        return ERROR_SUCCESS;
    }
    if (room < value->data.size()) {
        return ERROR_MORE_DATA;
    }
    std::copy(value->data.begin(), value->data.end(), data);
    return ERROR_SUCCESS;
}

// Finds the key of a handle whose values are to be changed.
LSTATUS FindForChange(HKEY key, RegistryStore& store, KeyView*& view) {
    const LSTATUS code = KeyHandles::All().Find(key, store, view);
    if (code != 0) {
        return code;
    }
    return view->MayUse(KEY_SET_VALUE) ? ERROR_SUCCESS : ERROR_ACCESS_DENIED;
}

LSTATUS SetValue(HKEY key, LPCSTR name, DWORD type, const BYTE* data, DWORD size) {
    const MachineLock lock;
    RegistryStore& store = RegistryStore::Current();
    KeyView* view = nullptr;
    if (const LSTATUS code = FindForChange(key, store, view); code != 0) {
        return code;
    }
    const std::string_view valueName = name == nullptr ? "" : name;
    if ((data == nullptr && size != 0) || valueName.size() > kLongestValueName ||
        !IsWritableName(valueName)) {
        return ERROR_INVALID_PARAMETER;
    }
    std::shared_ptr<RegistryNode> target = view->Winner().key;
    if (target == nullptr) {  // a predefined key that has no key of its own yet
        if (const LSTATUS code = store.Create(view->Winner().name, target); code != 0) {
            return code;
        }
    }
    return store.SetValue(*target, valueName, type, std::string(data, data + size));
}

LSTATUS DeleteValue(HKEY key, LPCSTR name) {
    const MachineLock lock;
    RegistryStore& store = RegistryStore::Current();
    KeyView* view = nullptr;
    if (const LSTATUS code = FindForChange(key, store, view); code != 0) {
        return code;
    }
    const std::string_view valueName = name == nullptr ? "" : name;
    // In a merged view the user's value goes first, then the machine's.
    for (const KeyView::Place& place : view->Places()) {
        if (place.key == nullptr || place.key->FindValue(valueName) == nullptr) {
            continue;
        }
        if ((RefusedRights(place.name) & KEY_SET_VALUE) != 0) {
            return ERROR_ACCESS_DENIED;
        }
        return store.DeleteValue(*place.key, valueName);
    }
    return ERROR_FILE_NOT_FOUND;
}

LSTATUS DeleteKey(HKEY key, LPCSTR subKey) {
    if (subKey == nullptr) {
        return ERROR_INVALID_PARAMETER;
    }
    const MachineLock lock;
    RegistryStore& store = RegistryStore::Current();
    KeyView target;
    if (const LSTATUS code = Reach(key, subKey, store, target); code != 0) {
        return code;
    }
    if (target.IsPredefined()) {
        return ERROR_ACCESS_DENIED;
    }
    if (!target.IsThere()) {
        return ERROR_FILE_NOT_FOUND;
    }
    const KeyView::Place& place = target.Winner();
    // The key's own right to be deleted counts, not what the handle was opened for.
    if (!place.key->children.empty() || (RefusedRights(place.name) & kDeleteRight) != 0) {
        return ERROR_ACCESS_DENIED;
    }
    return store.Delete(*place.key);
}

LSTATUS EnumKey(HKEY key, DWORD index, LPSTR name, DWORD size) {
    KeyView* view = nullptr;
    if (const LSTATUS code = KeyHandles::All().Find(key, RegistryStore::Current(), view);
        code != 0) {
        return code;
    }
    if (name == nullptr) {
        return ERROR_INVALID_PARAMETER;
    }
    if (!view->MayUse(KEY_ENUMERATE_SUB_KEYS)) {
        return ERROR_ACCESS_DENIED;
    }
    const std::string subkey = view->SubkeyName(index);
    if (subkey.empty()) {
        return ERROR_NO_MORE_ITEMS;
    }
    if (subkey.size() >= size) {
        return ERROR_MORE_DATA;
    }
    std::memcpy(name, subkey.c_str(), subkey.size() + 1);
    return ERROR_SUCCESS;
}

std::string KeyName(HKEY key, LPCSTR subKey = nullptr) {
    const LayerScope layer;
    return KeyHandles::All().NameOf(key, subKey);
}

std::string ValueName(HKEY key, LPCSTR name) {
    const LayerScope layer;
    return KeyName(key) + "|" + (name == nullptr ? "" : name);
}

// A key and what it is opened for: "HKEY_USERS:enumerate".
std::string OpeningOf(HKEY key, LPCSTR subKey, REGSAM access) {
    const LayerScope layer;
    const std::pair<REGSAM, const char*> rights[] = {{KEY_QUERY_VALUE, "query"},
                                                     {KEY_SET_VALUE, "set"},
                                                     {KEY_CREATE_SUB_KEY, "create"},
                                                     {KEY_ENUMERATE_SUB_KEYS, "enumerate"}};
    std::string text = KeyName(key, subKey);
    for (const auto& [right, word] : rights) {
        text += (access & right) != 0 ? std::string(":") + word : "";
    }
    return text;
}

// Runs a registry function as a call of the platform.
template <typename Function>
LSTATUS Run(const char* name, const std::string& argument, Call::Effect effect, Function function) {
    Call call(name, ToUtf8(argument), effect);
    return call.Refused() ? static_cast<LSTATUS>(call.Code()) : call.Result(function());
}

void RemoveBelow(RegistryStore& store, RegistryNode& key) {
    while (!key.children.empty()) {
        RemoveBelow(store, *key.children.begin()->second);
    }
    store.Delete(key);
}

}  // namespace

void RemoveKey(std::string_view fullName) {
    const MachineLock lock;
    RegistryStore& store = RegistryStore::Current();
    const std::size_t cut = std::min(fullName.find('\\'), fullName.size());
    KeyView view = KeyView::Predefined(fullName.substr(0, cut));
    if (cut < fullName.size()) {
        view = view.Below(fullName.substr(cut + 1));
        view.LookUp(store);
        if (view.IsThere()) {
            RemoveBelow(store, *view.Winner().key);
        }
    }
}

}  // namespace hosted

using hosted::Call;

LSTATUS WINAPI RegOpenKeyExA(HKEY key, LPCSTR subKey, DWORD /*options*/, REGSAM access,
                             HKEY* result) {
    return hosted::Run("RegOpenKeyExA", hosted::OpeningOf(key, subKey, access), Call::Looks,
                       [&] { return hosted::OpenKey(key, subKey, access, result); });
}

LSTATUS WINAPI RegCreateKeyA(HKEY key, LPCSTR subKey, HKEY* result) {
    return hosted::Run("RegCreateKeyA", hosted::KeyName(key, subKey), Call::Changes,
                       [&] { return hosted::CreateKey(key, subKey, result); });
}

LSTATUS WINAPI RegCloseKey(HKEY key) {
    return hosted::Run("RegCloseKey", hosted::KeyName(key), Call::Looks, [&]() -> LSTATUS {
        const bool closed =
            !hosted::PredefinedName(key).empty() || hosted::KeyHandles::All().Close(key);
        return closed ? ERROR_SUCCESS : ERROR_INVALID_HANDLE;
    });
}

LSTATUS WINAPI RegQueryValueExA(HKEY key, LPCSTR name, LPDWORD reserved, LPDWORD type, LPBYTE data,
                                LPDWORD size) {
    return hosted::Run("RegQueryValueExA", hosted::ValueName(key, name), Call::Looks,
                       [&] { return hosted::QueryValue(key, name, reserved, type, data, size); });
}

LSTATUS WINAPI RegSetValueExA(HKEY key, LPCSTR name, DWORD reserved, DWORD type, const BYTE* data,
                              DWORD size) {
    return hosted::Run("RegSetValueExA", hosted::ValueName(key, name), Call::Changes,
                       [&]() -> LSTATUS {
                           return reserved != 0 ? ERROR_INVALID_PARAMETER
                                                : hosted::SetValue(key, name, type, data, size);
                       });
}

LSTATUS WINAPI RegDeleteValueA(HKEY key, LPCSTR name) {
    return hosted::Run("RegDeleteValueA", hosted::ValueName(key, name), Call::Changes,
                       [&] { return hosted::DeleteValue(key, name); });
}

LSTATUS WINAPI RegDeleteKeyA(HKEY key, LPCSTR subKey) {
    return hosted::Run("RegDeleteKeyA", hosted::KeyName(key, subKey), Call::Changes,
                       [&] { return hosted::DeleteKey(key, subKey); });
}

LSTATUS WINAPI RegEnumKeyA(HKEY key, DWORD index, LPSTR name, DWORD size) {
    return hosted::Run("RegEnumKeyA", hosted::KeyName(key), Call::Looks,
                       [&] { return hosted::EnumKey(key, index, name, size); });
}
