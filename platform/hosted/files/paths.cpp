#include "platform/hosted/files/paths.h"

#include <cerrno>
#include <cstdlib>

#include "platform/hosted/files/folders.h"
#include "platform/hosted/files/listing.h"
#include "platform/hosted/machine.h"

namespace hosted {
namespace {

constexpr std::size_t kLongestPath = MAX_PATH - 1;
constexpr DWORD kBadNetworkPath = 53;

bool IsLetter(char character) {
    return (character >= 'A' && character <= 'Z') || (character >= 'a' && character <= 'z');
}

bool MayStandInName(char character, bool wildcards) {
    const auto code = static_cast<unsigned char>(character);
    if (code < 0x20 || character == '<' || character == '>' || character == '"' ||
        character == '|' || character == ':') {
        return false;
    }
    return wildcards || (character != '*' && character != '?');
}

// The end of a path loses all its dots and blanks, a name on the way only a single dot.
void DropTail(std::string& name, bool last) {
    if (last) {
        name.erase(name.find_last_not_of(". ") + 1);
    } else if (name.size() > 1 && name.back() == '.' && name[name.size() - 2] != '.') {
        name.pop_back();
    }
}

// Appends the names of a text without drive to path.
void AppendNames(FullPath& path, std::string_view text, Wildcards wildcards) {
    path.trailingBackslash = text.ends_with('\\');
    while (!text.empty()) {
        const std::size_t end = text.find('\\');
        const bool last = end == std::string_view::npos;
        std::string name(text.substr(0, end));
        text = last ? std::string_view() : text.substr(end + 1);
        if (name.empty() || name == ".") {
            continue;
        }
        if (name == "..") {
            if (!path.names.empty()) {
                path.names.pop_back();
            }
            continue;
        }
        const bool pattern = last && wildcards == Wildcards::InLastName;
        if (!pattern || name.find_first_of("*?") == std::string::npos) {
            DropTail(name, last);
        }
        for (const char character : name) {
            if (!MayStandInName(character, pattern)) {
                path.code = ERROR_INVALID_NAME;
            }
        }
        if (!name.empty()) {
            path.names.push_back(std::move(name));
        }
    }
}

std::string WithBackslashes(std::string_view path) {
    std::string text(path);
    for (char& character : text) {
        if (character == '/') {
            character = '\\';
        }
    }
    return text;
}

// The names of a path that begins without root, from the current folder on.
FullPath StartOf(const std::string& text) {
    FullPath current;
    const std::string folder = CurrentFolder();
    current.drive = folder[0];
    const char drive =
        text.size() > 1 && text[1] == ':' ? UpperCase(text.substr(0, 1))[0] : current.drive;
    if (drive == current.drive) {
        AppendNames(current, std::string_view(folder).substr(3), Wildcards::Refused);
    }
    current.drive = drive;
    return current;
}

std::string Resolved(const std::string& host) {
    const std::unique_ptr<char, decltype(&std::free)> target(realpath(host.c_str(), nullptr),
                                                             &std::free);
    return target == nullptr ? std::string() : std::string(target.get());
}

// Goes one name further down from a folder that exists.
bool Enter(std::string& host, const std::string& name, struct stat& status) {
    std::string next = host + '/' + ToUtf8(name);
    if (lstat(next.c_str(), &status) != 0) {
        const std::string stored = StoredName(host, name);
        if (stored.empty()) {
            host = std::move(next);
            return false;
        }
        next = host + '/' + stored;
        if (lstat(next.c_str(), &status) != 0) {
            host = std::move(next);
            return false;
        }
    }
    host = std::move(next);
    return true;
}

}  // namespace

std::string FullPath::Text() const {
    std::string text{drive, ':'};
    for (const std::string& name : names) {
        text += '\\';
        text += name;
    }
    if (names.empty()) {
        text += '\\';
    }
    return text;
}

FullPath ParsePath(std::string_view path, Wildcards wildcards) {
    FullPath full;
    const std::string text = WithBackslashes(path);
    std::string_view names = text;
    if (text.empty()) {
        full.code = ERROR_PATH_NOT_FOUND;
        return full;
    }
    if (text.starts_with("\\\\")) {
        full.code = kBadNetworkPath;
        return full;
    }
    const bool hasDrive = text.size() > 1 && text[1] == ':';
    if (hasDrive && !IsLetter(text[0])) {
        full.code = ERROR_INVALID_NAME;
        return full;
    }
    names.remove_prefix(hasDrive ? 2 : 0);
    if (names.starts_with('\\')) {
        full.drive = hasDrive ? UpperCase(text.substr(0, 1))[0] : CurrentFolder()[0];
    } else {
        full = StartOf(text);
    }
    AppendNames(full, names, wildcards);
    if (full.code == 0 && full.Text().size() > kLongestPath) {
        full.code = ERROR_FILENAME_EXCED_RANGE;
    }
    return full;
}

bool Place::IsFolder() const {
    if (!IsLink()) {
        return S_ISDIR(status.st_mode);
    }
    struct stat target {};
    return stat(host.c_str(), &target) != 0 || S_ISDIR(target.st_mode);
}

Place Locate(const FullPath& path) {
    Place place;
    place.code = path.code;
    if (place.code != 0) {
        return place;
    }
    place.host = (Machine::Current().Folder() / "drives" / std::string(1, path.drive)).native();
    place.isRoot = path.names.empty();
    if (stat(place.host.c_str(), &place.status) != 0 || !S_ISDIR(place.status.st_mode)) {
        place.code = ERROR_PATH_NOT_FOUND;
        return place;
    }
    for (std::size_t i = 0; i < path.names.size(); ++i) {
        const bool last = i + 1 == path.names.size();
        if (!Enter(place.host, path.names[i], place.status)) {
            place.code = last ? ERROR_FILE_NOT_FOUND : ERROR_PATH_NOT_FOUND;
            return place;
        }
        if (last) {
            break;
        }
        if (place.IsLink()) {
            place.host = Resolved(place.host);
        }
        if (stat(place.host.c_str(), &place.status) != 0 || !S_ISDIR(place.status.st_mode)) {
            place.code = ERROR_PATH_NOT_FOUND;
            return place;
        }
    }
    if (path.trailingBackslash && !place.IsFolder()) {
        place.code = ERROR_INVALID_NAME;
    }
    return place;
}

Place Locate(std::string_view path) {
    return Locate(ParsePath(path));
}

Place LocateTarget(const FullPath& path) {
    Place place = Locate(path);
    if (place.Exists() && place.IsLink()) {
        std::string target = Resolved(place.host);
        if (target.empty() || stat(target.c_str(), &place.status) != 0) {
            place.code = ERROR_FILE_NOT_FOUND;
            return place;
        }
        place.host = std::move(target);
    }
    return place;
}

Place LocateTarget(std::string_view path) {
    return LocateTarget(ParsePath(path));
}

DWORD CodeOfErrno(int error) {
    switch (error) {
        case 0:
            return ERROR_SUCCESS;
        case ENOENT:
            return ERROR_FILE_NOT_FOUND;
        case ENOTDIR:
        case ELOOP:
            return ERROR_PATH_NOT_FOUND;
        case EMFILE:
        case ENFILE:
            return ERROR_TOO_MANY_OPEN_FILES;
        case ENOMEM:
            return ERROR_NOT_ENOUGH_MEMORY;
        case EEXIST:
            return ERROR_FILE_EXISTS;
        case ENOSPC:
        case EDQUOT:
            return ERROR_DISK_FULL;
        case EROFS:
            return ERROR_WRITE_PROTECT;
        case ETXTBSY:
            return ERROR_SHARING_VIOLATION;
        case ENOTEMPTY:
            return ERROR_DIR_NOT_EMPTY;
        case ENAMETOOLONG:
            return ERROR_FILENAME_EXCED_RANGE;
        default:
            return ERROR_ACCESS_DENIED;
    }
}

std::optional<fs::path> HostPath(std::string_view path, bool missingLast) {
    const Place place = Locate(path);
    if (place.Exists() || (missingLast && place.code == ERROR_FILE_NOT_FOUND)) {
        return fs::path(place.host);
    }
    return std::nullopt;
}

std::string MachinePath(const fs::path& host) {
    return MachinePath(Machine::Current().Folder(), host);
}

std::string MachinePath(const fs::path& machine, const fs::path& host) {
    const std::string drives = (machine / "drives").native() + '/';
    const std::string& text = host.native();
    if (text.size() <= drives.size() || text.compare(0, drives.size(), drives) != 0 ||
        (text.size() > drives.size() + 1 && text[drives.size() + 1] != '/')) {
        return {};
    }
    std::string path = FromUtf8(std::string_view(text).substr(drives.size()));
    path.insert(1, 1, ':');
    for (char& character : path) {
        if (character == '/') {
            character = '\\';
        }
    }
    if (path.size() == 2) {
        path += '\\';
    }
    return path;
}

}  // namespace hosted
