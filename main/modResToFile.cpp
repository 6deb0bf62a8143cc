#include "main/modResToFile.h"

#include "common/modPath.h"
#include "common/modRuntimeError.h"
#include "main/modFile.h"

namespace {

// Resources are part of the loaded program: there is nothing to release.
std::string_view StoredBytes(WORD id, const char* type) {
    const HRSRC resource = FindResourceA(nullptr, MAKEINTRESOURCEA(id), type);
    const HGLOBAL data = resource == nullptr ? nullptr : LoadResource(nullptr, resource);
    const void* const bytes = data == nullptr ? nullptr : LockResource(data);
    const DWORD size = bytes == nullptr ? 0 : SizeofResource(nullptr, resource);
    if (size == 0) {
        const DWORD code = GetLastError();
        RaiseSystemError(code, std::string(type) + " " + std::to_string(id));
    }
    return {static_cast<const char*>(bytes), size};
}

}  // namespace

void ResToFile(const std::string& path, WORD id, const char* type, bool overwrite) {
    if (FileExists(path)) {
        if (!overwrite) {
            RaiseSystemError(ERROR_FILE_EXISTS, path);
        }
        DeleteFileIfThere(path);
    }
    WriteNewFile(path, StoredBytes(id, type));
}
