// The script's record travels in the program: there is nothing to be found, or exchanged, beside
// it.
#include "main/modResToFile.h"

#include "common/modPath.h"
#include "common/modText.h"
#include "main/modFile.h"

namespace {

// Resources are part of the loaded program: there is nothing to release.
Result<std::string_view> StoredBytes(WORD id, const char* type) {
    const HRSRC resource = FindResourceA(nullptr, MAKEINTRESOURCEA(id), type);
    const HGLOBAL data = resource == nullptr ? nullptr : LoadResource(nullptr, resource);
    const void* const bytes = data == nullptr ? nullptr : LockResource(data);
    const DWORD size = bytes == nullptr ? 0 : SizeofResource(nullptr, resource);
    if (size == 0) {
        const DWORD code = GetLastError();
        return SystemError(code, Joined({type, " ", Decimal(id)}));
    }
    return std::string_view(static_cast<const char*>(bytes), size);
}

}  // namespace

RuntimeError ResToFile(const std::string& path, WORD id, const char* type, Existing existing) {
    if (existing == Existing::Keep && FileExists(path)) {
        return SystemError(ERROR_FILE_EXISTS, path);
    }
    // Deleted without a look: one that is there under a name that FileExists does not take
    // would stand in the way for ever.
    if (existing == Existing::Replace) {
        RuntimeError error = DeleteFileIfThere(path);
        if (error.Failed()) {
            return error;
        }
    }
    const Result<std::string_view> bytes = StoredBytes(id, type);
    return bytes.Failed() ? bytes.error : WriteNewFile(path, bytes.value);
}
