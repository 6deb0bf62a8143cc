#include "tests/support/windows/files.h"

#include <stdexcept>

#include "platform/handles.h"
#include "tests/support/windows/text.h"

namespace support {
namespace {

constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

// Calls look with the name and data of every entry of a folder but "." and "..".
template <typename Look>
void ForEachEntry(const std::string& folder, Look look) {
    WIN32_FIND_DATAA data{};
    const handles::Find find(FindFirstFileA(FromUtf8(folder + "\\*").c_str(), &data));
    if (!find) {
        return;
    }
    do {
        const std::string name = ToUtf8(data.cFileName);
        if (name != "." && name != "..") {
            look(folder + "\\" + name, data);
        }
    } while (FindNextFileA(find.Get(), &data) != FALSE);
}

}  // namespace

void MakeFolders(const std::string& path) {
    for (std::size_t i = path.find('\\', 3); i != std::string::npos; i = path.find('\\', i + 1)) {
        CreateDirectoryA(FromUtf8(path.substr(0, i)).c_str(), nullptr);
    }
    CreateDirectoryA(FromUtf8(path).c_str(), nullptr);
}

void WriteRealFile(const std::string& path, const std::string& content) {
    MakeFolders(path.substr(0, path.rfind('\\')));
    const std::string ansi = FromUtf8(path);
    SetFileAttributesA(ansi.c_str(), FILE_ATTRIBUTE_NORMAL);
    const handles::File file(
        CreateFileA(ansi.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr));
    DWORD written = 0;
    if (!file || WriteFile(file.Get(), content.data(), static_cast<DWORD>(content.size()), &written,
                           nullptr) == FALSE) {
        throw std::runtime_error(path + " cannot be written");
    }
}

std::string ReadRealFile(const std::string& path) {
    const handles::File file(CreateFileA(FromUtf8(path).c_str(), GENERIC_READ, kShareAll, nullptr,
                                         OPEN_EXISTING, 0, nullptr));
    std::string content(file ? GetFileSize(file.Get(), nullptr) : 0, '\0');
    DWORD read = 0;
    if (!content.empty()) {
        ReadFile(file.Get(), content.data(), static_cast<DWORD>(content.size()), &read, nullptr);
    }
    content.resize(read);
    return content;
}

void SetRealAttributes(const std::string& path, const std::string& letters) {
    DWORD attributes = 0;
    attributes |= letters.find('R') != std::string::npos ? FILE_ATTRIBUTE_READONLY : 0;
    attributes |= letters.find('H') != std::string::npos ? FILE_ATTRIBUTE_HIDDEN : 0;
    attributes |= letters.find('S') != std::string::npos ? FILE_ATTRIBUTE_SYSTEM : 0;
    SetFileAttributesA(FromUtf8(path).c_str(),
                       attributes != 0 ? attributes : FILE_ATTRIBUTE_NORMAL);
}

void RemoveTree(const std::string& path) {
    const std::string ansi = FromUtf8(path);
    const DWORD attributes = GetFileAttributesA(ansi.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES) {
        return;
    }
    SetFileAttributesA(ansi.c_str(), FILE_ATTRIBUTE_NORMAL);
    if ((attributes & FILE_ATTRIBUTE_DIRECTORY) == 0) {
        DeleteFileA(ansi.c_str());
        return;
    }
    if ((attributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0) {
        ForEachEntry(path, [](const std::string& entry, const auto&) { RemoveTree(entry); });
    }
    RemoveDirectoryA(ansi.c_str());
}

void LookAtTree(const std::string& path, bool self, State& state) {
    const DWORD attributes = GetFileAttributesA(FromUtf8(path).c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES) {
        return;
    }
    FileState file;
    for (const auto& [bit, letter] : {std::pair{FILE_ATTRIBUTE_READONLY, 'R'},
                                      {FILE_ATTRIBUTE_HIDDEN, 'H'},
                                      {FILE_ATTRIBUTE_SYSTEM, 'S'}}) {
        if ((attributes & static_cast<DWORD>(bit)) != 0) {
            file.attributes += letter;
        }
    }
    if ((attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
        file.attributes += 'D';
        ForEachEntry(path, [&state](const std::string& entry, const auto&) {
            LookAtTree(entry, true, state);
        });
    } else {
        const std::string content = ReadRealFile(path);
        file.size = content.size();
        file.digest = Digest(content);
    }
    if (self) {
        state.files[path] = file;
    }
}

}  // namespace support
