// A short path has no blanks: it can stand in a command line without quotes.
#include "common/modGetShortPathAlways.h"

#include "common/modGetErrString.h"
#include "common/modText.h"

Result<std::string> GetShortPathAlways(const std::string& longPath) {
    // Without a buffer GetShortPathNameA returns the size it needs, its NUL included.
    const DWORD size = GetShortPathNameA(longPath.c_str(), nullptr, 0);
    if (size == 0) {
        const DWORD code = GetLastError();
        return RuntimeError{
            ErrorNumber::InvalidCall,
            Joined({"GetShortPathName failed for long path ", Quoted(longPath), ".",
                    GetErrString(static_cast<std::int32_t>(code), ShowCode::Yes, "Error code")})};
    }
    std::string path(size, '\0');
    const DWORD length = GetShortPathNameA(longPath.c_str(), path.data(), size);
    path.resize(length < size ? length : 0);
    return path;
}
