#include "tests/support/windows/real.h"

#include <algorithm>
#include <array>

#include "platform/handles.h"
// Builds on the types of windows.h.
#include <sddl.h>
#include <shlwapi.h>

#include "tests/support/machine.h"

namespace support {

namespace fs = std::filesystem;

namespace {

constexpr std::pair<DWORD, char> kAttributes[] = {{FILE_ATTRIBUTE_READONLY, 'R'},
                                                  {FILE_ATTRIBUTE_HIDDEN, 'H'},
                                                  {FILE_ATTRIBUTE_SYSTEM, 'S'},
                                                  {FILE_ATTRIBUTE_DIRECTORY, 'D'}};

// Large branches of the system, below the machine's software, and what Wine notes down about
// itself.
const std::string kLeftOut =
    "|Classes\\CLSID|Classes\\Interface|Classes\\MIME|Classes\\TypeLib|Microsoft\\Cryptography|"
    "Microsoft\\Windows NT|";
const std::string kSoftware = kHklm + "Software";
const std::string kWine = "\\Software\\Wine";

std::wstring Wide(std::string_view text, UINT codePage) {
    const auto length = static_cast<int>(text.size());
    std::wstring wide(text.size(), L'\0');
    wide.resize(static_cast<std::size_t>(
        MultiByteToWideChar(codePage, 0, text.data(), length, wide.data(), length)));
    return wide;
}

std::string Narrow(std::wstring_view wide, UINT codePage) {
    std::string text(wide.size() * 3, '\0');
    text.resize(static_cast<std::size_t>(
        WideCharToMultiByte(codePage, 0, wide.data(), static_cast<int>(wide.size()), text.data(),
                            static_cast<int>(text.size()), nullptr, nullptr)));
    return text;
}

// The hive of whoever runs the tests.
std::string FindRealUser() {
    handles::Process token;
    OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, token.Receive());
    std::array<DWORD_PTR, 64> user{};
    DWORD size = 0;
    GetTokenInformation(token.Get(), TokenUser, user.data(), sizeof user, &size);
    char* sid = nullptr;  // freed with the process
    ConvertSidToStringSidA(reinterpret_cast<TOKEN_USER*>(user.data())->User.Sid, &sid);
    return std::string("HKEY_USERS\\") + sid;
}

const std::string& RealUser() {
    static const std::string user = FindRealUser();
    return user;
}

const std::string kStagedUser = kUser.substr(0, kUser.size() - 1);  // without the backslash

std::string Exchange(const std::string& key, const std::string& from, const std::string& to) {
    const bool same = key == from || key.starts_with(from + "\\");
    return same ? to + key.substr(from.size()) : key;
}

// A key by its root and the path from there.
struct Place {
    explicit Place(const std::string& key)
        : root(key.starts_with("HKEY_USERS") ? HKEY_USERS : HKEY_LOCAL_MACHINE),
          path(FromUtf8(Exchange(key, kStagedUser, RealUser()))) {
        path.erase(0, path.find('\\') + 1);
    }
    HKEY root;
    std::string path;
};

void ReadTree(HKEY root, const std::string& path, const std::string& name, Keys& keys) {
    static std::array<char, std::size_t{1} << 20> data;
    handles::Key key;
    const std::string below = name.substr(std::min(kSoftware.size() + 1, name.size()));
    if (kLeftOut.find("|" + below + "|") != std::string::npos || name.ends_with(kWine) ||
        RegOpenKeyExA(root, path.c_str(), 0, KEY_READ, key.Receive()) != ERROR_SUCCESS) {
        return;
    }
    Values& values = keys[Exchange(Exchange(name, RealUser(), kStagedUser), "HKEY_USERS\\.Default",
                                   "HKEY_USERS\\.DEFAULT")];
    std::array<char, 16384> part{};
    DWORD type = 0;
    DWORD length = part.size();
    DWORD size = data.size();
    for (DWORD i = 0; RegEnumValueA(key.Get(), i, part.data(), &length, nullptr, &type,
                                    reinterpret_cast<BYTE*>(data.data()), &size) == ERROR_SUCCESS;
         ++i, length = part.size(), size = data.size()) {
        values[ToUtf8({part.data(), length})] =
            regtext::FormatValue({type, std::string(data.data(), size)}, ToUtf8);
    }
    for (DWORD i = 0; RegEnumKeyA(key.Get(), i, part.data(), part.size()) == ERROR_SUCCESS; ++i) {
        ReadTree(key.Get(), part.data(), name + "\\" + ToUtf8(part.data()), keys);
    }
}

}  // namespace

std::string ToUtf8(std::wstring_view wide) {
    return Narrow(wide, CP_UTF8);
}

std::string ToUtf8(std::string_view ansi) {
    return ToUtf8(Wide(ansi, 1252));
}

std::string FromUtf8(std::string_view utf8) {
    return Narrow(Wide(utf8, CP_UTF8), 1252);
}

fs::path RealPath(const std::string& path) {
    return Wide(path, CP_UTF8);
}

void SetRealAttributes(const fs::path& path, const std::string& letters) {
    DWORD attributes = 0;
    for (const auto& [bit, letter] : kAttributes) {
        attributes |= letters.find(letter) != std::string::npos ? bit : 0;
    }
    SetFileAttributesW(path.c_str(), attributes != 0 ? attributes : FILE_ATTRIBUTE_NORMAL);
}

void RemoveTree(const fs::path& path) {
    std::error_code none;
    SetRealAttributes(path, "");
    for (const auto& entry : fs::recursive_directory_iterator(path, none)) {
        SetRealAttributes(entry.path(), "");
    }
    fs::remove_all(path, none);
}

FileState LookAt(const fs::path& path) {
    FileState file;
    for (const auto& [bit, letter] : kAttributes) {
        file.attributes.append((GetFileAttributesW(path.c_str()) & bit) != 0 ? 1 : 0, letter);
    }
    if (!file.IsFolder()) {
        const std::string content = ReadBytes(path);
        file.size = content.size();
        file.digest = Digest(content);
    }
    return file;
}

Keys ReadRealRegistry() {
    Keys keys;
    ReadTree(HKEY_LOCAL_MACHINE, "Software", kSoftware, keys);
    ReadTree(HKEY_USERS, "", "HKEY_USERS", keys);
    return keys;
}

void MakeKey(const std::string& key) {
    const Place place(key);
    handles::Key made;
    RegCreateKeyA(place.root, place.path.c_str(), made.Receive());
}

void DeleteKeyTree(const std::string& key) {
    const Place place(key);
    SHDeleteKeyA(place.root, place.path.c_str());
}

void SetRealValue(const std::string& key, const std::string& name, const std::string& value) {
    const Place place(key);
    handles::Key made;
    RegCreateKeyA(place.root, place.path.c_str(), made.Receive());
    const std::string ansi = FromUtf8(name);
    if (value.empty()) {
        RegDeleteValueA(made.Get(), ansi.c_str());
        return;
    }
    const regtext::TypedValue typed = regtext::ParseValue(value, FromUtf8);
    RegSetValueExA(made.Get(), ansi.c_str(), 0, typed.type,
                   reinterpret_cast<const BYTE*>(typed.data.data()),
                   static_cast<DWORD>(typed.data.size()));
}

}  // namespace support
