// Every look at a folder goes through AnyEntry: what Windows says when nothing is there has many
// codes, and they are told apart from failures in one place.
#include "common/modPath.h"

#include <array>

#include "common/modGeneral.h"
#include "common/modText.h"
#include "platform/handles.h"

namespace {

constexpr std::size_t kRootLength = 3;  // "C:\"

// Not allowed in a path after its root: control characters, wildcards, separators and
// the codes that name no character (142 and 158 among them for the sake of old systems).
constexpr std::string_view kForbidden =
    "\x01\x02\x03\x04\x05\x06\x07\x08\x09\x0A\x0B\x0C\x0D\x0E\x0F\x10\x11\x12\x13\x14\x15\x16\x17"
    "\x18\x19\x1A\x1B\x1C\x1D\x1E\x1F\"*/:<>?|\x81\x8D\x8E\x8F\x90\x9D\x9E";

bool IsLetter(char character) {
    return (character >= 'A' && character <= 'Z') || (character >= 'a' && character <= 'z');
}

bool IsExcluded(const WIN32_FIND_DATAA& entry, DWORD mask) {
    return (entry.dwFileAttributes & kFolderMask & ~mask) != 0;
}

// The codes with which FindFirstFileA and FindNextFileA say that nothing (more) matches. Where a
// file stands in the place of a folder, it is 267 on Windows and 123 on Wine.
bool MeansNothingFound(DWORD code) {
    return code == ERROR_FILE_NOT_FOUND || code == ERROR_PATH_NOT_FOUND ||
           code == ERROR_NO_MORE_FILES || code == ERROR_DIRECTORY || code == ERROR_INVALID_NAME;
}

// Goes through the matching entries until visit returns true, and tells whether it has.
template <typename Visit>
Result<bool> AnyEntry(std::string_view path, Visit visit) {
    std::string pattern(path);
    if (pattern.ends_with('\\')) {
        pattern += '*';
    }
    WIN32_FIND_DATAA entry{};
    const handles::Find find(FindFirstFileA(pattern.c_str(), &entry));
    if (find) {
        do {
            if (visit(entry)) {
                return true;
            }
        } while (FindNextFileA(find.Get(), &entry) != FALSE);
    }
    const DWORD code = GetLastError();
    if (!MeansNothingFound(code)) {
        return SystemError(code, path);
    }
    return false;
}

const char* ShortName(const WIN32_FIND_DATAA& entry) {
    return entry.cAlternateFileName[0] != '\0' ? entry.cAlternateFileName : entry.cFileName;
}

bool IsDots(const WIN32_FIND_DATAA& entry) {
    const std::string_view name(entry.cFileName);
    return name == "." || name == "..";
}

bool IsFolder(const WIN32_FIND_DATAA& entry) {
    return (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0 && !IsDots(entry);
}

// Other reparse points, those of cloud storage for instance, are no links: what lies below
// them belongs to the folder.
bool IsLink(const WIN32_FIND_DATAA& entry) {
    return (entry.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0 &&
           (entry.dwReserved0 == IO_REPARSE_TAG_MOUNT_POINT ||
            entry.dwReserved0 == IO_REPARSE_TAG_SYMLINK);
}

// A component must be more than dots and blanks: "." and ".." leave the folder, and the
// others are no names to the file system.
bool IsUsableComponent(std::string_view component) {
    return component.find_first_not_of(". ") != std::string_view::npos;
}

}  // namespace

Result<std::string> LookUp(std::string_view path, DWORD mask) {
    std::string name;
    Result<bool> found = AnyEntry(path, [&](const WIN32_FIND_DATAA& entry) {
        if (IsExcluded(entry, mask)) {
            return false;
        }
        name = entry.cFileName;
        return true;
    });
    if (found.Failed()) {
        return std::move(found.error);
    }
    return name;
}

Result<bool> HasEntries(std::string_view folder) {
    return AnyEntry(AddBackslash(folder),
                    [](const WIN32_FIND_DATAA& entry) { return !IsDots(entry); });
}

Subfolders SubfoldersOf(std::string_view folder) {
    const std::string parent = AddBackslash(folder);
    Subfolders found;
    // The error says only that the list may not be whole.
    static_cast<void>(AnyEntry(parent, [&](const WIN32_FIND_DATAA& entry) {
        if (IsFolder(entry)) {
            (IsLink(entry) ? found.links : found.own).push_back(parent + ShortName(entry));
        }
        return false;
    }));
    return found;
}

std::string FolderIn(const FolderBuffer& buffer, DWORD length) {
    return AddBackslash(std::string_view(buffer.data(), length < buffer.size() ? length : 0));
}

std::string NormalizeFolderPath(std::string_view path) {
    if (path.size() < 2) {
        return {};
    }
    const std::string full = AddBackslash(path);
    std::string result = UpperCase(full.substr(0, kRootLength));
    if (full.size() > kRootLength) {
        result.append(full, kRootLength, full.size() - kRootLength - 1);
    }
    return result;
}

std::string GetLongPath(std::string_view path) {
    const std::string full = AddBackslash(path);
    if (full.size() < kRootLength ||
        LookUp(full.substr(0, kRootLength), kFolderMask).value.empty()) {
        return {};
    }
    std::string result = UpperCase(full.substr(0, 2));
    for (std::size_t i = kRootLength; i < full.size(); ++i) {
        if (full[i] != '\\') {
            continue;
        }
        const Result<std::string> name = LookUp(full.substr(0, i), kFolderMask);
        if (name.Failed()) {
            // A drive that is not ready any more, a name that is none: what was found so far
            // is the result, and the caller decides whether it is enough.
            return result;
        }
        result.append("\\").append(name.value);
    }
    return result;
}

bool FolderExists(std::string_view path) {
    if (!IsValidPath(path)) {
        return false;
    }
    std::array<char, MAX_PATH + 1> remembered{};
    const DWORD length =
        GetCurrentDirectoryA(static_cast<DWORD>(remembered.size()), remembered.data());
    if (length == 0 || length >= remembered.size()) {
        return false;  // there would be no way back
    }
    const bool entered = SetCurrentDirectoryA(std::string(path).c_str()) != FALSE;
    SetCurrentDirectoryA(remembered.data());
    return entered;
}

bool FileExists(std::string_view path) {
    // What cannot be looked up is not there for the caller.
    return IsValidPath(path) && !LookUp(path, kFileMask).value.empty();
}

bool IsValidPath(std::string_view path) {
    if (path.empty()) {
        return false;
    }
    const std::string full = AddBackslash(path);
    if (full.size() < kRootLength || !IsLetter(full[0]) || full[1] != ':' || full[2] != '\\') {
        return false;
    }
    const std::string_view rest = std::string_view(full).substr(kRootLength);
    if (rest.find('\0') != std::string_view::npos ||
        rest.find_first_of(kForbidden) != std::string_view::npos) {
        return false;
    }
    for (std::size_t start = 0; start < rest.size();) {
        const std::size_t end = rest.find('\\', start);
        if (!IsUsableComponent(rest.substr(start, end - start))) {
            return false;
        }
        start = end + 1;
    }
    return true;
}
