// The system tells paths in buffers of a fixed size; here they become texts that are whole or
// empty.
#include "main/Places.h"

#include <array>
#include <string_view>

#include "common/Product.h"
#include "common/modPath.h"
#include "platform/win32.h"

Result<OwnLocation> OwnFile() {
    std::array<char, MAX_PATH + 1> buffer{};
    const DWORD length =
        GetModuleFileNameA(nullptr, buffer.data(), static_cast<DWORD>(buffer.size()));
    const std::string_view path(buffer.data(), length < buffer.size() ? length : 0);
    const std::size_t cut = path.rfind('\\');
    if (cut == std::string_view::npos) {
        return SystemError(GetLastError(), Product::Uninstaller);
    }
    const std::string_view file = path.substr(cut + 1);
    const bool atRoot = cut == 2;  // "C:\": the root keeps its backslash
    return OwnLocation{std::string(path.substr(0, atRoot ? cut + 1 : cut)),
                       std::string(file.substr(0, file.rfind('.')))};
}

std::string SystemFolderPath() {
    FolderBuffer buffer{};
    const UINT length = GetSystemDirectoryA(buffer.data(), static_cast<UINT>(buffer.size()));
    return FolderIn(buffer, length);
}

std::string TempFolderPath() {
    FolderBuffer buffer{};
    const DWORD length = GetTempPathA(static_cast<DWORD>(buffer.size()), buffer.data());
    return FolderIn(buffer, length);
}
