#include "tools/sandbox/real.h"

#include <windows.h>

#include <algorithm>
#include <array>
#include <stdexcept>

// Builds on the types of windows.h.
#include <shlwapi.h>

#include "platform/handles.h"
#include "tools/sandbox/stage.h"

namespace real {
namespace {

using sandbox::kHklm;
using sandbox::kUser;

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
    for (const auto& [name, root] : kRoots) {
        if ((key + '\\').starts_with(name)) {
            return {root, FromUtf8(key.substr(std::min(key.size(), name.size())))};
        }
    }
    throw std::runtime_error("unknown root: " + key);
}

void Require(std::int64_t code, std::int64_t harmless, const std::string& key) {
    if (code != ERROR_SUCCESS && code != harmless) {
        throw std::runtime_error("error " + std::to_string(code) + " at " + key);
    }
}

void ReadTree(const std::string& name, regtext::Keys& keys) {
    if (std::ranges::any_of(kLeftOut, [&](auto* end) { return name.ends_with(end); })) {
        return;
    }
    static std::array<char, std::size_t{1} << 20> data;
    std::array<char, 16384> part{};
    regtext::Values& values = keys[name];
    handles::Key key;
    const auto [root, path] = PlaceOf(name);
    LONG code = RegOpenKeyA(root, path.c_str(), key.Receive());
    if (code == ERROR_FILE_NOT_FOUND) {
        return;  // a name of the system's that the code page lacks
    }
    for (DWORD i = 0; code == ERROR_SUCCESS; ++i) {
        DWORD type = 0;
        DWORD length = part.size();
        DWORD size = data.size();
        code = RegEnumValueA(key.Get(), i, part.data(), &length, nullptr, &type,
                             reinterpret_cast<BYTE*>(data.data()), &size);
        if (code == ERROR_SUCCESS) {
            values[ToUtf8({part.data(), length})] =
                regtext::FormatValue({type, std::string(data.data(), size)}, ToUtf8);
        }
    }
    Require(code, ERROR_NO_MORE_ITEMS, name);
    DWORD i = 0;
    for (; (code = RegEnumKeyA(key.Get(), i, part.data(), part.size())) == ERROR_SUCCESS; ++i) {
        ReadTree(name + "\\" + ToUtf8(part.data()), keys);
    }
    Require(code, ERROR_NO_MORE_ITEMS, name);
}

std::vector<fs::path> TreeAt(const fs::path& path) {
    std::error_code none;
    const fs::recursive_directory_iterator below(path, none);
    std::vector<fs::path> all(begin(below), end(below));
    all.push_back(path);
    return all;
}

}  // namespace

std::string ToUtf8(std::string_view ansi) {
    const auto length = static_cast<int>(ansi.size());
    std::wstring wide(ansi.size(), L'\0');
    MultiByteToWideChar(1252, 0, ansi.data(), length, wide.data(), length);
    return Name(wide);
}

std::string FromUtf8(std::string_view utf8) {
    const std::wstring wide = Path(utf8).native();
    const auto length = static_cast<int>(wide.size());
    std::string ansi(wide.size(), '\0');
    WideCharToMultiByte(1252, 0, wide.data(), length, ansi.data(), length, nullptr, nullptr);
    return ansi;
}

fs::path Path(std::string_view path) {
    return std::u8string(path.begin(), path.end());
}

std::string Name(const fs::path& path) {
    const std::u8string utf8 = path.u8string();
    return {utf8.begin(), utf8.end()};
}

void Stage(const fs::path& stage, const fs::path& program) {
    const std::string menu = sandbox::kGroupFolder.substr(0, sandbox::kGroupFolder.rfind('\\'));
    for (const char* folders : {"User Shell Folders", "Shell Folders"}) {
        SetValue(kHklm + "Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\" + folders,
                 "Common Programs", regtext::FormatValue({1, menu + '\0'}));
    }
    for (const auto& [key, values] : regtext::Parse(sandbox::ReadBytes(stage / "registry.reg"))) {
        AddKey(key);
        for (const auto& [name, value] : values) {
            SetValue(key, name, value);
        }
    }
    for (const sandbox::StagedFile& file : sandbox::ReadStagedFiles(stage / "files.txt")) {
        if (file.path.starts_with("C:\\windows\\system32") || file.path.ends_with("Notepad.exe")) {
            continue;  // the system has its own
        }
        const fs::path path = Path(file.path);
        sandbox::Put(file, path, program);
        SetAttributes(path, file.attributes);
    }
}

void SetAttributes(const fs::path& path, const std::string& letters) {
    DWORD attributes = 0;
    for (const auto& [bit, letter] : kAttributes) {
        attributes |= letters.find(letter) != std::string::npos ? bit : 0;
    }
    SetFileAttributesW(path.c_str(), attributes != 0 ? attributes : FILE_ATTRIBUTE_NORMAL);
}

void RemoveTree(const fs::path& path) {
    for (const fs::path& one : TreeAt(path)) {
        SetAttributes(one, "");
    }
    std::error_code none;
    fs::remove_all(path, none);
}

void AddKey(const std::string& key) {
    const auto [root, path] = PlaceOf(key);
    handles::Key made;
    Require(RegCreateKeyA(root, path.c_str(), made.Receive()), ERROR_SUCCESS, key);
}

void RemoveKey(const std::string& key) {
    const auto [root, path] = PlaceOf(key);
    Require(SHDeleteKeyA(root, path.c_str()), ERROR_FILE_NOT_FOUND, key);
}

void SetValue(const std::string& key, const std::string& name, const std::string& value) {
    const auto [root, path] = PlaceOf(key);
    const std::string ansi = FromUtf8(name);
    if (value.empty()) {
        Require(SHDeleteValueA(root, path.c_str(), ansi.c_str()), ERROR_FILE_NOT_FOUND, key);
        return;
    }
    const regtext::TypedValue typed = regtext::ParseValue(value, FromUtf8);
    Require(SHSetValueA(root, path.c_str(), ansi.c_str(), typed.type, typed.data.data(),
                        static_cast<DWORD>(typed.data.size())),
            ERROR_SUCCESS, key);
}

void LookAt(const fs::path& path, sandbox::State& state) {
    for (const fs::path& one : TreeAt(path)) {
        std::string letters;
        for (const auto& [bit, letter] : kAttributes) {
            letters.append((GetFileAttributesW(one.c_str()) & bit) != 0 ? 1 : 0, letter);
        }
        const std::string content = letters.ends_with('D') ? "" : sandbox::ReadBytes(one);
        state.files[Name(one)] = {letters, content.size(), sandbox::Digest(content)};
    }
}

regtext::Keys ReadRegistry() {
    regtext::Keys keys;
    for (const std::string& key : kRead) {
        ReadTree(key, keys);
    }
    return keys;
}

}  // namespace real
