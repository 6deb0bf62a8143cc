// Paths of the program: taken apart as the system does it, and found on the disk.
#include <algorithm>
#include <cerrno>
#include <sstream>

#include "platform/hosted/files/files.h"

namespace hosted {
namespace {

constexpr DWORD kBadNetworkPath = 53;

// The end of a path loses all its dots and blanks, a name on the way only a single dot.
void DropTail(std::string& name, bool last) {
    if (last) {
        name.erase(name.find_last_not_of(". ") + 1);
    } else if (name.ends_with('.') && !name.ends_with("..")) {
        name.pop_back();
    }
}

bool MayStandInName(char character) {
    return static_cast<unsigned char>(character) >= 0x20 &&
           std::string_view("<>\"|:*?").find(character) == std::string_view::npos;
}

// The names of a path without its drive, "." and ".." resolved.
std::vector<std::string> NamesIn(const std::string& path, DWORD& code) {
    std::vector<std::string> names;
    std::istringstream parts(path);
    for (std::string name; std::getline(parts, name, '\\');) {
        if (name == "..") {
            names.resize(names.empty() ? 0 : names.size() - 1);
            continue;
        }
        DropTail(name, parts.eof());
        if (!std::all_of(name.begin(), name.end(), MayStandInName)) {
            code = ERROR_INVALID_NAME;
        }
        if (!name.empty()) {
            names.push_back(name);
        }
    }
    return names;
}

// Goes down from the drive name by name; gives the code.
DWORD Descend(Place& place, const std::vector<std::string>& names) {
    std::error_code error;  // what cannot be looked at is not there
    place.status = fs::symlink_status(place.host, error);
    for (const std::string& name : names) {
        if (place.IsLink()) {
            place.host = fs::canonical(place.host, error);
        }
        if (!fs::is_directory(place.host, error)) {
            return ERROR_PATH_NOT_FOUND;
        }
        place.host = Find(place.host, name);
        place.status = fs::symlink_status(place.host, error);
    }
    if (fs::exists(place.status)) {
        return ERROR_SUCCESS;
    }
    return names.empty() ? ERROR_PATH_NOT_FOUND : ERROR_FILE_NOT_FOUND;
}

}  // namespace

bool Place::IsFolder() const {
    std::error_code error;
    const fs::file_status target = IsLink() ? fs::status(host, error) : status;
    return fs::is_directory(target) || (IsLink() && !fs::exists(target));
}

Place Locate(std::string_view path) {
    Place place;
    std::string text(path);
    std::replace(text.begin(), text.end(), '/', '\\');
    if (text.empty() || text.starts_with("\\\\")) {
        place.code = text.empty() ? ERROR_PATH_NOT_FOUND : kBadNetworkPath;
        return place;
    }
    if (text.size() < 2 || text[1] != ':') {
        text = CurrentFolder() + '\\' + text;
    }
    const std::string drive = UpperCase(text.substr(0, 1));
    if (drive[0] < 'A' || drive[0] > 'Z') {
        place.code = ERROR_INVALID_NAME;
        return place;
    }
    const std::vector<std::string> names = NamesIn(text.substr(2), place.code);
    place.path = drive + ':';
    for (const std::string& name : names) {
        place.path += '\\' + name;
    }
    place.path += names.empty() ? "\\" : "";
    place.host = Sandbox::Current().Folder() / "drives" / drive;
    if (place.path.size() > kLongestPath && place.Exists()) {
        place.code = ERROR_FILENAME_EXCED_RANGE;
    }
    if (place.Exists()) {
        place.code = Descend(place, names);
    }
    if (place.Exists() && text.ends_with('\\') && !place.IsFolder()) {
        place.code = ERROR_INVALID_NAME;
    }
    return place;
}

Place LocateTarget(std::string_view path) {
    Place place = Locate(path);
    if (place.Exists() && place.IsLink()) {
        std::error_code error;
        place.host = fs::canonical(place.host, error);
        place.status = fs::status(place.host, error);
        place.code = error ? ERROR_FILE_NOT_FOUND : ERROR_SUCCESS;
    }
    return place;
}

DWORD CodeOfErrno(int error) {
    static const std::map<int, DWORD> codes{{0, ERROR_SUCCESS},
                                            {ENOENT, ERROR_FILE_NOT_FOUND},
                                            {EEXIST, ERROR_FILE_EXISTS},
                                            {ENOSPC, ERROR_DISK_FULL},
                                            {ETXTBSY, ERROR_SHARING_VIOLATION},
                                            {ENOTEMPTY, ERROR_DIR_NOT_EMPTY},
                                            {ENAMETOOLONG, ERROR_FILENAME_EXCED_RANGE}};
    const auto known = codes.find(error);
    return known == codes.end() ? ERROR_ACCESS_DENIED : known->second;
}

std::optional<fs::path> HostPath(std::string_view path) {
    const Place place = Locate(path);
    return place.Exists() ? std::optional(place.host) : std::nullopt;
}

std::string ProgramPath(const fs::path& sandbox, const fs::path& host) {
    const std::string drives = (sandbox / "drives").native() + '/';
    if (!host.native().starts_with(drives)) {
        return {};
    }
    std::string path = FromUtf8(host.native().substr(drives.size()));
    std::replace(path.begin(), path.end(), '/', '\\');
    return path.size() == 1 ? path + ":\\" : path.insert(1, ":");
}

}  // namespace hosted
