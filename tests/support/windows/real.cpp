#include "tests/support/windows/real.h"

#include <algorithm>
#include <array>

// Builds on the types of windows.h.
#include <shlwapi.h>

namespace support {

namespace fs = std::filesystem;

namespace {

constexpr std::pair<DWORD, char> kAttributes[] = {{FILE_ATTRIBUTE_READONLY, 'R'},
                                                  {FILE_ATTRIBUTE_HIDDEN, 'H'},
                                                  {FILE_ATTRIBUTE_SYSTEM, 'S'},
                                                  {FILE_ATTRIBUTE_DIRECTORY, 'D'}};

// Where the keys of a name lie. The first name that fits counts.
const std::pair<std::string, HKEY> kRoots[] = {
    {kHklm, HKEY_LOCAL_MACHINE}, {kUser, HKEY_CURRENT_USER}, {"HKEY_USERS\\", HKEY_USERS}};

// Where reading begins: the last two have other names among the users.
const std::string kRead[] = {kHklm + "Software", "HKEY_USERS", "HKEY_USERS\\.DEFAULT",
                             kUser.substr(0, kUser.size() - 1)};
// What names end with: those two in Wine's words, what it notes down about itself, and large
// branches of the system.
const char* const kLeftOut[] = {
    "\\.Default",         "\\S-1-5-21-0-0-0-1000",     "\\Software\\Wine",
    "\\Classes\\CLSID",   "\\Classes\\Interface",      "\\Classes\\MIME",
    "\\Classes\\TypeLib", "\\Microsoft\\Cryptography", "\\Microsoft\\Windows NT"};

// Where a key lies: its root and the path from there.
std::pair<HKEY, std::string> PlaceOf(const std::string& key) {
    const auto* root = kRoots;
    while (!(key + '\\').starts_with(root->first)) {
        ++root;
    }
    return {root->second, FromUtf8(key.substr(std::min(key.size(), root->first.size())))};
}

void ReadTree(const std::string& name, Keys& keys) {
    if (std::ranges::any_of(kLeftOut, [&](auto* end) { return name.ends_with(end); })) {
        return;
    }
    static std::array<char, std::size_t{1} << 20> data;
    std::array<char, 16384> part{};
    Values& values = keys[name];
    handles::Key key;
    const auto [root, path] = PlaceOf(name);
    RegOpenKeyA(root, path.c_str(), key.Receive());
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
        ReadTree(name + "\\" + ToUtf8(part.data()), keys);
    }
}

}  // namespace

std::string ToUtf8(std::wstring_view wide) {
    const std::u8string utf8 = fs::path(wide).u8string();
    return {utf8.begin(), utf8.end()};
}

std::string ToUtf8(std::string_view ansi) {
    const auto length = static_cast<int>(ansi.size());
    std::wstring wide(ansi.size(), L'\0');
    MultiByteToWideChar(1252, 0, ansi.data(), length, wide.data(), length);
    return ToUtf8(wide);
}

fs::path RealPath(std::string_view path) {
    return std::u8string(path.begin(), path.end());
}

std::string FromUtf8(std::string_view utf8) {
    const std::wstring wide = RealPath(utf8).native();
    const auto length = static_cast<int>(wide.size());
    std::string ansi(wide.size(), '\0');
    WideCharToMultiByte(1252, 0, wide.data(), length, ansi.data(), length, nullptr, nullptr);
    return ansi;
}

void SetRealAttributes(const fs::path& path, const std::string& letters) {
    DWORD attributes = 0;
    for (const auto& [bit, letter] : kAttributes) {
        attributes |= letters.find(letter) != std::string::npos ? bit : 0;
    }
    SetFileAttributesW(path.c_str(), attributes != 0 ? attributes : FILE_ATTRIBUTE_NORMAL);
}

std::vector<fs::path> TreeAt(const fs::path& path) {
    std::error_code none;
    const fs::recursive_directory_iterator below(path, none);
    std::vector<fs::path> all(begin(below), end(below));
    all.push_back(path);
    return all;
}

void RemoveTree(const fs::path& path) {
    for (const fs::path& one : TreeAt(path)) {
        SetRealAttributes(one, "");
    }
    std::error_code none;
    fs::remove_all(path, none);
}

FileState LookAt(const fs::path& path) {
    std::string letters;
    for (const auto& [bit, letter] : kAttributes) {
        letters.append((GetFileAttributesW(path.c_str()) & bit) != 0 ? 1 : 0, letter);
    }
    const std::string content = letters.ends_with('D') ? "" : ReadBytes(path);
    return {letters, content.size(), Digest(content)};
}

Keys ReadRealRegistry() {
    Keys keys;
    for (const std::string& key : kRead) {
        ReadTree(key, keys);
    }
    return keys;
}

handles::Key MakeKey(const std::string& key) {
    handles::Key made;
    const auto [root, path] = PlaceOf(key);
    RegCreateKeyA(root, path.c_str(), made.Receive());
    return made;
}

void DeleteKeyTree(const std::string& key) {
    const auto [root, path] = PlaceOf(key);
    SHDeleteKeyA(root, path.c_str());
}

void SetRealValue(const std::string& key, const std::string& name, const std::string& value) {
    const handles::Key made = MakeKey(key);
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
