#include "main/modFile.h"

#include <array>

#include "common/modGeneral.h"

DWORD CodeOfDeleting(const std::string& path) {
    const DWORD code = DeleteFileA(path.c_str()) != FALSE ? ERROR_SUCCESS : GetLastError();
    return code == ERROR_FILE_NOT_FOUND ? DWORD{ERROR_SUCCESS} : code;
}

RuntimeError DeleteFileIfThere(const std::string& path) {
    const DWORD code = CodeOfDeleting(path);
    return code == ERROR_SUCCESS ? RuntimeError{} : SystemError(code, path);
}

RuntimeError WriteNewFile(const std::string& path, std::string_view bytes) {
    const handles::File file(CreateFileA(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                                         CREATE_NEW,
                                         FILE_ATTRIBUTE_NORMAL | FILE_FLAG_WRITE_THROUGH, nullptr));
    if (!file) {
        return SystemError(GetLastError(), path);
    }
    DWORD written = 0;
    if (WriteFile(file.Get(), bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr) ==
        FALSE) {
        return SystemError(GetLastError(), path);
    }
    if (written != bytes.size()) {
        return SystemError(ERROR_DISK_FULL, path);
    }
    return {};
}

Result<handles::File> HoldFile(const std::string& path) {
    const DWORD start = GetTickCount();
    for (;;) {
        handles::File file(CreateFileA(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                       OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
        if (file) {
            return file;
        }
        const DWORD code = GetLastError();
        if (code == ERROR_FILE_NOT_FOUND || GetTickCount() - start > kWaitLimit) {
            return SystemError(code, path);
        }
        Sleep(kWaitStep);
    }
}

Result<std::string> ReadAll(const handles::File& file, const std::string& path, std::size_t limit) {
    std::string bytes;
    std::array<char, 2048> block{};
    DWORD count = 0;
    do {
        if (ReadFile(file.Get(), block.data(), static_cast<DWORD>(block.size()), &count, nullptr) ==
            FALSE) {
            return SystemError(GetLastError(), path);
        }
        bytes.append(block.data(), count);
    } while (count != 0 && bytes.size() <= limit);
    return bytes;
}

RuntimeError CheckBytes(const handles::File& file, const std::string& path,
                        std::string_view bytes) {
    Result<std::string> found = ReadAll(file, path, bytes.size());
    if (!found.error && found.value != bytes) {
        return SystemError(ERROR_ACCESS_DENIED, path);
    }
    return std::move(found.error);
}
