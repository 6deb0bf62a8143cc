#include "tests/support/windows/registry.h"

#include <algorithm>
#include <array>
#include <vector>

#include "platform/handles.h"
#include "tests/support/machine.h"
#include "tests/support/windows/text.h"

namespace support {
namespace {

// Large branches of the system, and what Wine notes down about itself.
constexpr const char* kLeftOut[] = {"HKEY_LOCAL_MACHINE\\Software\\Classes\\CLSID",
                                    "HKEY_LOCAL_MACHINE\\Software\\Classes\\Interface",
                                    "HKEY_LOCAL_MACHINE\\Software\\Classes\\MIME",
                                    "HKEY_LOCAL_MACHINE\\Software\\Classes\\TypeLib",
                                    "HKEY_LOCAL_MACHINE\\Software\\Microsoft\\Cryptography",
                                    "HKEY_LOCAL_MACHINE\\Software\\Microsoft\\Windows NT",
                                    "HKEY_LOCAL_MACHINE\\Software\\Wine"};
constexpr const char* kWine = "\\Software\\Wine";  // of a user

const std::string kStagedUser = kUser.substr(0, kUser.size() - 1);  // without the backslash

// The name under HKEY_USERS of whoever runs the tests: the one that has an environment of
// its own and is no service.
std::string RealUser() {
    std::array<char, 256> name{};
    for (DWORD i = 0; RegEnumKeyA(HKEY_USERS, i, name.data(), name.size()) == ERROR_SUCCESS; ++i) {
        const std::string sid = name.data();
        handles::Key key;
        if (sid.starts_with("S-1-5-21-") && !sid.ends_with("_Classes") &&
            RegOpenKeyExA(HKEY_USERS, (sid + "\\Environment").c_str(), 0, KEY_READ,
                          key.Receive()) == ERROR_SUCCESS) {
            return "HKEY_USERS\\" + sid;
        }
    }
    return "HKEY_USERS\\.DEFAULT";
}

const std::string& RealUserKey() {
    static const std::string key = RealUser();
    return key;
}

std::string Exchange(const std::string& key, const std::string& from, const std::string& to) {
    const bool same = key == from || key.starts_with(from + "\\");
    return same ? to + key.substr(from.size()) : key;
}

// Takes the root off the front of a full name and gives its handle.
HKEY Root(std::string& path) {
    path = FromUtf8(Exchange(path, kStagedUser, RealUserKey()));
    const bool machine = path.starts_with("HKEY_LOCAL_MACHINE");
    path.erase(0, path.find('\\') + 1);
    return machine ? HKEY_LOCAL_MACHINE : HKEY_USERS;
}

handles::Key Open(std::string key, REGSAM access) {
    const HKEY root = Root(key);
    handles::Key handle;
    RegOpenKeyExA(root, key.c_str(), 0, access, handle.Receive());
    return handle;
}

// How much there is in a key, so that nothing is asked for that is not there.
struct Extent {
    DWORD subkeys = 0, values = 0, longestName = 0, longestData = 0;

    explicit Extent(HKEY key) {
        RegQueryInfoKeyA(key, nullptr, nullptr, nullptr, &subkeys, nullptr, nullptr, &values,
                         &longestName, &longestData, nullptr, nullptr);
    }
};

regtext::Values ReadValues(HKEY key, const Extent& extent) {
    regtext::Values values;
    std::string name(extent.longestName * 2 + 2, '\0');
    std::string data(extent.longestData + 2, '\0');
    for (DWORD i = 0; i < extent.values; ++i) {
        auto nameSize = static_cast<DWORD>(name.size());
        auto dataSize = static_cast<DWORD>(data.size());
        DWORD type = 0;
        if (RegEnumValueA(key, i, name.data(), &nameSize, nullptr, &type,
                          reinterpret_cast<BYTE*>(data.data()), &dataSize) == ERROR_SUCCESS) {
            values[ToUtf8(name.substr(0, nameSize))] =
                regtext::FormatValue({type, data.substr(0, dataSize)}, ToUtf8);
        }
    }
    return values;
}

bool IsLeftOut(const std::string& fullName) {
    return (fullName.starts_with("HKEY_USERS") && fullName.ends_with(kWine)) ||
           std::any_of(std::begin(kLeftOut), std::end(kLeftOut),
                       [&](const char* one) { return lstrcmpiA(fullName.c_str(), one) == 0; });
}

void ReadTree(HKEY root, const std::string& path, const std::string& fullName,
              regtext::Keys& keys) {
    handles::Key key;
    if (IsLeftOut(fullName) ||
        RegOpenKeyExA(root, path.c_str(), 0, KEY_READ, key.Receive()) != ERROR_SUCCESS) {
        return;
    }
    const Extent extent(key.Get());
    keys[Exchange(Exchange(fullName, RealUserKey(), kStagedUser), "HKEY_USERS\\.Default",
                  "HKEY_USERS\\.DEFAULT")] = ReadValues(key.Get(), extent);
    std::array<char, 256> name{};
    for (DWORD i = 0; i < extent.subkeys; ++i) {
        if (RegEnumKeyA(key.Get(), i, name.data(), name.size()) == ERROR_SUCCESS) {
            ReadTree(key.Get(), name.data(), fullName + "\\" + ToUtf8(name.data()), keys);
        }
    }
}

}  // namespace

regtext::Keys ReadRealRegistry() {
    regtext::Keys keys;
    ReadTree(HKEY_LOCAL_MACHINE, "Software", "HKEY_LOCAL_MACHINE\\Software", keys);
    ReadTree(HKEY_USERS, "", "HKEY_USERS", keys);
    return keys;
}

void MakeKey(const std::string& key) {
    std::string path = key;
    const HKEY root = Root(path);
    handles::Key handle;
    RegCreateKeyA(root, path.c_str(), handle.Receive());
}

void DeleteKeyTree(const std::string& key) {
    const handles::Key handle = Open(key, KEY_READ);
    std::vector<std::string> names;
    std::array<char, 256> name{};
    for (DWORD i = 0;
         handle && RegEnumKeyA(handle.Get(), i, name.data(), name.size()) == ERROR_SUCCESS; ++i) {
        names.push_back(ToUtf8(name.data()));
    }
    for (const std::string& one : names) {
        DeleteKeyTree(key + "\\" + one);
    }
    std::string path = key;
    const HKEY root = Root(path);
    RegDeleteKeyA(root, path.c_str());
}

void SetRealValue(const std::string& key, const std::string& name, const std::string& value) {
    MakeKey(key);
    const regtext::TypedValue typed = regtext::ParseValue(value, FromUtf8);
    const handles::Key handle = Open(key, KEY_SET_VALUE);
    RegSetValueExA(handle.Get(), FromUtf8(name).c_str(), 0, typed.type,
                   reinterpret_cast<const BYTE*>(typed.data.data()),
                   static_cast<DWORD>(typed.data.size()));
}

void DeleteRealValue(const std::string& key, const std::string& name) {
    const handles::Key handle = Open(key, KEY_SET_VALUE);
    RegDeleteValueA(handle.Get(), FromUtf8(name).c_str());
}

}  // namespace support
