#include "main/modFile.h"

#include <array>

#include "common/modRuntimeError.h"

namespace {

handles::File OpenForReading(const std::string& path) {
    handles::File file(CreateFileA(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                   OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file) {
        RaiseSystemError(GetLastError(), path);
    }
    return file;
}

// The file's bytes; of a larger one only a block more than limit.
std::string ReadAll(const handles::File& file, const std::string& path, std::size_t limit) {
    std::string bytes;
    std::array<char, 2048> block{};
    DWORD count = 0;
    do {
        if (ReadFile(file.Get(), block.data(), static_cast<DWORD>(block.size()), &count, nullptr) ==
            FALSE) {
            RaiseSystemError(GetLastError(), path);
        }
        bytes.append(block.data(), count);
    } while (count != 0 && bytes.size() <= limit);
    return bytes;
}

}  // namespace

void DeleteFileIfThere(const std::string& path) {
    if (DeleteFileA(path.c_str()) == FALSE && GetLastError() != ERROR_FILE_NOT_FOUND) {
        RaiseSystemError(GetLastError(), path);
    }
}

void WriteNewFile(const std::string& path, std::string_view bytes) {
    const handles::File file(CreateFileA(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                                         CREATE_NEW,
                                         FILE_ATTRIBUTE_NORMAL | FILE_FLAG_WRITE_THROUGH, nullptr));
    if (!file) {
        RaiseSystemError(GetLastError(), path);
    }
    DWORD written = 0;
    if (WriteFile(file.Get(), bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr) ==
        FALSE) {
        RaiseSystemError(GetLastError(), path);
    }
    if (written != bytes.size()) {
        RaiseSystemError(ERROR_DISK_FULL, path);
    }
}

std::string ReadWholeFile(const std::string& path) {
    const handles::File file = OpenForReading(path);
    return ReadAll(file, path, std::string::npos);
}

handles::File HoldUnchanged(const std::string& path, std::string_view bytes) {
    handles::File file = OpenForReading(path);
    if (ReadAll(file, path, bytes.size()) != bytes) {
        RaiseSystemError(ERROR_ACCESS_DENIED, path);
    }
    return file;
}
