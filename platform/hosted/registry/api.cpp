// The registry functions of win32.h. Reserved arguments are not looked at.
#include <algorithm>
#include <cstring>
#include <set>
#include <utility>

#include "platform/hosted/registry/state.h"

namespace hosted {
namespace {

using regtext::ByName;
using regtext::EndOf;
using regtext::Keys;

constexpr LSTATUS kKeyDeleted = 1018;  // ERROR_KEY_DELETED

// What a function works on.
struct Target {
    RegistryState& registry;
    OpenedKey& key;
    bool less;  // see Call::Less
};

OpenedKey* Find(HKEY handle) {
    auto& handles = RegistryState::Ours().handles;
    const auto found = handles.find(reinterpret_cast<std::uintptr_t>(handle));
    return found == handles.end() ? nullptr : &found->second;
}

std::string NameBelow(const std::string& name, LPCSTR subKey) {
    return subKey == nullptr || *subKey == '\0' ? name : name + "\\" + ToUtf8(subKey);
}

// The name of a key below a handle's as the program has opened it, root first.
std::string KeyName(HKEY handle, LPCSTR subKey = nullptr) {
    const LayerScope layer;  // names are made before their call, and not by the program
    const OpenedKey* const key = Find(handle);
    return NameBelow(key == nullptr ? "" : key->name, subKey);
}

std::string NameOfValue(LPCSTR name) {
    return name == nullptr ? std::string() : ToUtf8(name);
}

std::string ValueName(HKEY handle, LPCSTR name) {
    const LayerScope layer;
    return KeyName(handle) + "|" + NameOfValue(name);
}

// A key and what it is opened for: "HKEY_USERS:enumerate".
std::string OpeningOf(HKEY handle, LPCSTR subKey, REGSAM access) {
    const LayerScope layer;
    std::string text = KeyName(handle, subKey);
    REGSAM right = KEY_QUERY_VALUE;  // the others follow bit by bit
    for (const char* word : {":query", ":set", ":create", ":enumerate"}) {
        text += (access & right) != 0 ? word : "";
        right <<= 1U;
    }
    return text;
}

// Runs a function as a call of the platform on the key behind a handle: 6 if there is none,
// 1018 if the key is gone, 5 without that right.
template <typename Function, typename... Arguments>
LSTATUS Run(Call&& call, HKEY handle, REGSAM right, Function function, Arguments... arguments) {
    if (call.Refused()) {
        return static_cast<LSTATUS>(call.Code());
    }
    OpenedKey* const key = Find(handle);
    if (key == nullptr) {
        return call.Result(ERROR_INVALID_HANDLE);
    }
    RegistryState& registry = RegistryState::Ours();
    registry.LookUp(*key);
    if (!key->IsThere()) {
        return call.Result(kKeyDeleted);
    }
    if ((key->rights & right) != right) {
        return call.Result(ERROR_ACCESS_DENIED);
    }
    return call.Result(function(Target{registry, *key, call.Less()}, arguments...));
}

LSTATUS Finish(RegistryState& registry, OpenedKey key, HKEY* result) {
    // Numbers are not used again: a handle that was closed stays unknown.
    const std::uintptr_t number = registry.lastHandle += 4;
    registry.handles.emplace(number, std::move(key));
    *result = reinterpret_cast<HKEY>(number);
    return ERROR_SUCCESS;
}

LSTATUS Open(Target target, LPCSTR subKey, REGSAM access, HKEY* result) {
    OpenedKey key = target.registry.At(NameBelow(target.key.name, subKey));
    if (!key.IsThere()) {
        return ERROR_FILE_NOT_FOUND;
    }
    key.rights = access & kAllRights;
    return target.registry.Refused(key.Winner(), key.rights) != 0
               ? ERROR_ACCESS_DENIED
               : Finish(target.registry, std::move(key), result);
}

// A new key is the machine's in HKEY_CLASSES_ROOT. The right to make it is that of the last
// key on the way that is there, whatever the handle was opened for: the platform checks it so.
// The new handle has all rights that are not refused.
LSTATUS Create(Target target, LPCSTR subKey, HKEY* result) {
    RegistryState& registry = target.registry;
    OpenedKey key = registry.At(NameBelow(target.key.name, subKey));
    if (!key.IsThere()) {
        std::string above = key.places.back();
        while (above.find('\\') != std::string::npos && !registry.keys.contains(above)) {
            above.resize(above.rfind('\\'));
        }
        if (registry.Refused(above, KEY_CREATE_SUB_KEY) != 0) {
            return ERROR_ACCESS_DENIED;
        }
        regtext::AddKey(registry.keys, key.places.back());
        registry.CountChange();
    }
    key.rights &= ~registry.Refused(key.Winner(), kAllRights);
    return Finish(registry, std::move(key), result);
}

LSTATUS QueryValue(Target target, LPCSTR name, LPDWORD type, LPBYTE data, LPDWORD size) {
    const std::string* written = nullptr;
    for (auto place = target.key.found.rbegin(); place != target.key.found.rend(); ++place) {
        const auto value = (*place)->second.find(NameOfValue(name));
        written = value == (*place)->second.end() ? written : &value->second;
    }
    if (written == nullptr) {
        return ERROR_FILE_NOT_FOUND;
    }
    const regtext::TypedValue value = regtext::ParseValue(*written, FromUtf8);
    if (type != nullptr) {
        *type = value.type;
    }
    const DWORD room = std::exchange(*size, static_cast<DWORD>(value.data.size()));
    if (data != nullptr && (room < value.data.size() || target.less)) {
        return ERROR_MORE_DATA;
    }
    if (data != nullptr) {
        std::copy(value.data.begin(), value.data.end(), data);
    }
    return ERROR_SUCCESS;
}

LSTATUS SetValue(Target target, LPCSTR name, DWORD type, const BYTE* data, DWORD size) {
    // A root may have nothing kept of it yet.
    regtext::AddKey(target.registry.keys, target.key.Winner())[NameOfValue(name)] =
        regtext::FormatValue({type, std::string(data, data + size)}, ToUtf8);
    target.registry.CountChange();
    return ERROR_SUCCESS;
}

// In a view of two the user's value goes first, then the machine's.
LSTATUS DeleteValue(Target target, LPCSTR name) {
    for (const auto& place : target.key.found) {
        if (place->second.erase(NameOfValue(name)) != 0) {
            target.registry.saved = false;
            return ERROR_SUCCESS;
        }
    }
    return ERROR_FILE_NOT_FOUND;
}

// A key with subkeys is refused (5). The key's own right to be deleted counts, not what the
// handle was opened for.
LSTATUS DeleteKey(Target target, LPCSTR subKey) {
    RegistryState& registry = target.registry;
    const OpenedKey key = registry.At(NameBelow(target.key.name, subKey));
    if (!key.IsThere()) {
        return ERROR_FILE_NOT_FOUND;
    }
    // What is below the key would come right behind it.
    const auto next = key.IsRoot() ? registry.keys.end() : std::next(key.found.front());
    const bool hasSubkeys =
        next != registry.keys.end() && ByName()(next->first, EndOf(key.Winner()));
    if (key.IsRoot() || hasSubkeys || registry.Refused(key.Winner(), kDeleteRight) != 0) {
        return ERROR_ACCESS_DENIED;
    }
    registry.keys.erase(key.found.front());
    registry.CountChange();
    return ERROR_SUCCESS;
}

// The names of the subkeys in order. Of two alike the user's gives its spelling.
std::vector<std::string> SubkeysOf(const Keys& keys, const OpenedKey& key) {
    std::set<std::string, ByName> names;
    for (const auto& place : key.found) {
        const std::size_t length = place->first.size() + 1;
        const auto end = keys.lower_bound(EndOf(place->first));
        for (Keys::const_iterator below = std::next(place); below != end; ++below) {
            if (below->first.find('\\', length) == std::string::npos) {
                names.insert(below->first.substr(length));
            }
        }
    }
    return {names.begin(), names.end()};
}

LSTATUS EnumerateKey(Target target, DWORD index, LPSTR name, DWORD size) {
    std::vector<std::string>& subkeys = target.key.subkeys;
    if (subkeys.empty()) {
        subkeys = SubkeysOf(target.registry.keys, target.key);
    }
    if (index >= subkeys.size()) {
        return ERROR_NO_MORE_ITEMS;
    }
    const std::string subkey = FromUtf8(subkeys[index]);
    if (subkey.size() >= size || target.less) {
        return ERROR_MORE_DATA;
    }
    std::memcpy(name, subkey.c_str(), subkey.size() + 1);
    return ERROR_SUCCESS;
}

}  // namespace
}  // namespace hosted

using hosted::Call;

LSTATUS WINAPI RegOpenKeyExA(HKEY key, LPCSTR subKey, DWORD, REGSAM access, HKEY* result) {
    return hosted::Run(Call("RegOpenKeyExA", hosted::OpeningOf(key, subKey, access)), key, 0,
                       hosted::Open, subKey, access, result);
}

LSTATUS WINAPI RegCreateKeyA(HKEY key, LPCSTR subKey, HKEY* result) {
    return hosted::Run(Call("RegCreateKeyA", hosted::KeyName(key, subKey), Call::Changes), key, 0,
                       hosted::Create, subKey, result);
}

// A handle whose closing is refused is no longer open either: nobody can try again.
LSTATUS WINAPI RegCloseKey(HKEY key) {
    Call call("RegCloseKey", hosted::KeyName(key));
    const auto number = reinterpret_cast<std::uintptr_t>(key);
    const bool known = hosted::Find(key) != nullptr;
    if (known && number < hosted::kFirstRoot) {
        hosted::RegistryState::Ours().handles.erase(number);
    }
    return call.Refused() ? static_cast<LSTATUS>(call.Code())
                          : call.Result(known ? ERROR_SUCCESS : ERROR_INVALID_HANDLE);
}

LSTATUS WINAPI RegQueryValueExA(HKEY key, LPCSTR name, LPDWORD, LPDWORD type, LPBYTE data,
                                LPDWORD size) {
    return hosted::Run(Call("RegQueryValueExA", hosted::ValueName(key, name)), key, KEY_QUERY_VALUE,
                       hosted::QueryValue, name, type, data, size);
}

LSTATUS WINAPI RegSetValueExA(HKEY key, LPCSTR name, DWORD, DWORD type, const BYTE* data,
                              DWORD size) {
    return hosted::Run(Call("RegSetValueExA", hosted::ValueName(key, name), Call::Changes), key,
                       KEY_SET_VALUE, hosted::SetValue, name, type, data, size);
}

LSTATUS WINAPI RegDeleteValueA(HKEY key, LPCSTR name) {
    return hosted::Run(Call("RegDeleteValueA", hosted::ValueName(key, name), Call::Changes), key,
                       KEY_SET_VALUE, hosted::DeleteValue, name);
}

LSTATUS WINAPI RegDeleteKeyA(HKEY key, LPCSTR subKey) {
    return hosted::Run(Call("RegDeleteKeyA", hosted::KeyName(key, subKey), Call::Changes), key, 0,
                       hosted::DeleteKey, subKey);
}

LSTATUS WINAPI RegEnumKeyA(HKEY key, DWORD index, LPSTR name, DWORD size) {
    return hosted::Run(Call("RegEnumKeyA", hosted::KeyName(key)), key, KEY_ENUMERATE_SUB_KEYS,
                       hosted::EnumerateKey, index, name, size);
}
