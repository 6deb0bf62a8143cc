// The registry functions of win32.h. Reserved arguments are not looked at.
#include <algorithm>
#include <cstring>
#include <utility>

#include "platform/hosted/registry/store.h"

namespace hosted {
namespace {

constexpr LSTATUS kKeyDeleted = 1018;  // ERROR_KEY_DELETED

OpenedKey* Opened(HKEY handle) {
    auto& handles = RegistryState::Ours().handles;
    const auto found = handles.find(reinterpret_cast<std::uintptr_t>(handle));
    return found == handles.end() ? nullptr : &found->second;
}

// The name of a key below a handle's. Names are made before their call, and not by the program.
std::string KeyName(HKEY handle, LPCSTR subKey = nullptr) {
    const LayerScope layer;
    const OpenedKey* const key = Opened(handle);
    std::string name = key == nullptr ? "" : key->name;
    return subKey == nullptr || *subKey == '\0' ? name : name + "\\" + subKey;
}

std::string ValueName(HKEY handle, LPCSTR name) {
    const LayerScope layer;
    return KeyName(handle) + "|" + (name == nullptr ? "" : name);
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

// Does the work on the key of a handle: 6 if there is none, 1018 if the key is gone, 5 without
// that right.
template <typename Work>
LSTATUS Run(Call& call, HKEY handle, REGSAM right, Work work) {
    call.Run([&]() -> LSTATUS {
        OpenedKey* const key = Opened(handle);
        if (key == nullptr) {
            return ERROR_INVALID_HANDLE;
        }
        RegistryState& registry = RegistryState::Ours();
        if (!registry.IsThere(key->name)) {
            return kKeyDeleted;
        }
        return (key->rights & right) != right ? ERROR_ACCESS_DENIED : work(registry, *key);
    });
    return static_cast<LSTATUS>(call.Result());
}

LSTATUS AddHandle(RegistryState& registry, OpenedKey key, HKEY* result) {
    // Numbers are not used again: a handle that was closed stays unknown.
    const std::uintptr_t number = registry.lastHandle += 4;
    registry.handles.emplace(number, std::move(key));
    *result = reinterpret_cast<HKEY>(number);
    return ERROR_SUCCESS;
}

LSTATUS QueryValue(const std::string& written, DWORD* type, LPBYTE data, DWORD* size, bool less) {
    const regtext::TypedValue value = regtext::ParseValue(written, FromUtf8);
    if (type != nullptr) {
        *type = value.type;
    }
    const DWORD room = std::exchange(*size, static_cast<DWORD>(value.data.size()));
    if (data != nullptr && (room < value.data.size() || less)) {
        return ERROR_MORE_DATA;
    }
    if (data != nullptr) {
        std::copy(value.data.begin(), value.data.end(), data);
    }
    return ERROR_SUCCESS;
}

// A key with subkeys is refused (5). What the handle was opened for does not matter.
LSTATUS DeleteKey(RegistryState& registry, const std::string& name) {
    const auto found = registry.Find(name);
    if (found.empty()) {
        return ERROR_FILE_NOT_FOUND;
    }
    const auto next = std::next(found.front());  // what is below the key would come first
    const bool hasSubkeys = next != registry.keys.end() &&
                            regtext::ByName()(next->first, regtext::EndOf(found.front()->first));
    if (hasSubkeys || RegistryState::IsRoot(name)) {
        return ERROR_ACCESS_DENIED;
    }
    registry.keys.erase(found.front());
    registry.changed = true;
    return ERROR_SUCCESS;
}

}  // namespace
}  // namespace hosted

using hosted::Call;
using hosted::OpenedKey;
using hosted::RegistryState;

LSTATUS WINAPI RegOpenKeyExA(HKEY key, LPCSTR subKey, DWORD, REGSAM access, HKEY* result) {
    Call call("RegOpenKeyExA", hosted::OpeningOf(key, subKey, access));
    return hosted::Run(call, key, 0, [&](RegistryState& registry, const OpenedKey&) {
        const std::string name = hosted::KeyName(key, subKey);
        return registry.IsThere(name) ? hosted::AddHandle(registry, {name, access}, result)
                                      : ERROR_FILE_NOT_FOUND;
    });
}

// What the handle was opened for does not matter.
LSTATUS WINAPI RegCreateKeyA(HKEY key, LPCSTR subKey, HKEY* result) {
    const std::string name = hosted::KeyName(key, subKey);
    Call call("RegCreateKeyA", name, Call::Changes);
    return hosted::Run(call, key, 0, [&](RegistryState& registry, const OpenedKey&) {
        if (!registry.IsThere(name)) {
            registry.Make(name);
        }
        return hosted::AddHandle(registry, {name}, result);
    });
}

// A handle whose closing is refused is no longer open either: nobody can try again.
LSTATUS WINAPI RegCloseKey(HKEY key) {
    Call call("RegCloseKey", hosted::KeyName(key));
    const auto number = reinterpret_cast<std::uintptr_t>(key);
    const bool known = hosted::Opened(key) != nullptr;
    if (number < hosted::kFirstRoot) {
        RegistryState::Ours().handles.erase(number);
    }
    call.Run([&] { return known ? ERROR_SUCCESS : ERROR_INVALID_HANDLE; });
    return static_cast<LSTATUS>(call.Result());
}

LSTATUS WINAPI RegQueryValueExA(HKEY key, LPCSTR name, LPDWORD, LPDWORD type, LPBYTE data,
                                LPDWORD size) {
    Call call("RegQueryValueExA", hosted::ValueName(key, name));
    return hosted::Run(
        call, key, KEY_QUERY_VALUE, [&](RegistryState& registry, const OpenedKey& opened) {
            for (const auto& place : registry.Find(opened.name)) {
                const auto value = place->second.find(hosted::ToUtf8(name == nullptr ? "" : name));
                if (value != place->second.end()) {
                    return hosted::QueryValue(value->second, type, data, size, call.Less());
                }
            }
            return ERROR_FILE_NOT_FOUND;
        });
}

LSTATUS WINAPI RegSetValueExA(HKEY key, LPCSTR name, DWORD, DWORD type, const BYTE* data,
                              DWORD size) {
    Call call("RegSetValueExA", hosted::ValueName(key, name), Call::Changes);
    return hosted::Run(
        call, key, KEY_SET_VALUE, [&](RegistryState& registry, const OpenedKey& opened) {
            registry.Make(opened.name)[hosted::ToUtf8(name == nullptr ? "" : name)] =
                regtext::FormatValue({type, std::string(data, data + size)}, hosted::ToUtf8);
            return ERROR_SUCCESS;
        });
}

// In a view of two the user's value goes first, then the machine's.
LSTATUS WINAPI RegDeleteValueA(HKEY key, LPCSTR name) {
    Call call("RegDeleteValueA", hosted::ValueName(key, name), Call::Changes);
    return hosted::Run(
        call, key, KEY_SET_VALUE, [&](RegistryState& registry, const OpenedKey& opened) {
            for (const auto& place : registry.Find(opened.name)) {
                if (place->second.erase(hosted::ToUtf8(name == nullptr ? "" : name)) != 0) {
                    registry.changed = true;
                    return ERROR_SUCCESS;
                }
            }
            return ERROR_FILE_NOT_FOUND;
        });
}

LSTATUS WINAPI RegDeleteKeyA(HKEY key, LPCSTR subKey) {
    const std::string name = hosted::KeyName(key, subKey);
    Call call("RegDeleteKeyA", name, Call::Changes);
    return hosted::Run(call, key, 0, [&](RegistryState& registry, const OpenedKey&) {
        return hosted::DeleteKey(registry, name);
    });
}

LSTATUS WINAPI RegEnumKeyA(HKEY key, DWORD index, LPSTR name, DWORD size) {
    Call call("RegEnumKeyA", hosted::KeyName(key));
    return hosted::Run(call, key, KEY_ENUMERATE_SUB_KEYS,
                       [&](RegistryState& registry, OpenedKey& opened) -> LSTATUS {
                           if (index == 0) {
                               opened.subkeys = registry.SubkeysOf(opened.name);
                           }
                           if (index >= opened.subkeys.size()) {
                               return ERROR_NO_MORE_ITEMS;
                           }
                           const std::string& subkey = opened.subkeys[index];
                           if (subkey.size() >= size || call.Less()) {
                               return ERROR_MORE_DATA;
                           }
                           std::memcpy(name, subkey.c_str(), subkey.size() + 1);
                           return ERROR_SUCCESS;
                       });
}
