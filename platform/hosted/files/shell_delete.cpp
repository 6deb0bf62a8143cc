// The shell's deletion of files and whole folders.
#include <dirent.h>
#include <sys/stat.h>

#include <cstring>

#include "platform/hosted/files/files.h"
#include "platform/hosted/files/listing.h"
#include "platform/hosted/machine.h"

namespace hosted {
namespace {

constexpr int kRelativePath = 124;  // ERROR_INVALID_LEVEL
constexpr int kRootFolder = 0x74;   // "the source is a root folder"
constexpr std::size_t kLongestPath = MAX_PATH - 1;

// Removes items with all that is in them. What cannot be removed stays, with the folders
// around it; everything else goes. Links are removed, never followed.
class Remover {
 public:
    // The code of the first failure, 0 if everything is gone.
    [[nodiscard]] DWORD FirstFailure() const { return failure_; }

    void Failed(DWORD code) {
        failure_ = failures_ == 0 ? code : failure_;
        ++failures_;
    }

    // length: of the item's path on the machine, which no function of the system takes
    // beyond its limit; so the depth is bounded as well.
    void Remove(const std::string& host, std::size_t length) {
        struct stat status {};
        if (lstat(host.c_str(), &status) != 0) {
            return;  // gone between the look and the deletion
        }
        if (length > kLongestPath) {
            Failed(ERROR_FILENAME_EXCED_RANGE);
            return;
        }
        if (S_ISDIR(status.st_mode) && !RemoveContent(host, length)) {
            return;
        }
        const MachineLock lock;
        const DWORD code = RemoveItem(host, status);
        if (code != ERROR_SUCCESS && code != ERROR_FILE_NOT_FOUND) {
            Failed(code);
        }
    }

 private:
    // False if something stays.
    bool RemoveContent(const std::string& host, std::size_t length) {
        const unsigned before = failures_;
        const Listing listing(host);
        for (const auto& [capitals, entry] : listing.All()) {
            Remove(host + '/' + entry.stored, length + 1 + entry.name.size());
        }
        return failures_ == before;
    }

    DWORD failure_ = ERROR_SUCCESS;
    unsigned failures_ = 0;
};

void RemovePattern(FullPath path, Remover& remover) {
    const std::string pattern = path.names.back();
    path.names.pop_back();
    const Place folder = LocateTarget(path.Text());
    if (!folder.Exists() || !folder.IsFolder()) {
        remover.Failed(folder.Exists() ? ERROR_DIRECTORY : folder.code);
        return;
    }
    const Listing listing(folder.host);
    bool any = false;
    for (const auto& [capitals, entry] : listing.All()) {
        if (NameMatches(pattern, entry.name)) {
            any = true;
            remover.Remove(folder.host + '/' + entry.stored,
                           path.Text().size() + 1 + entry.name.size());
        }
    }
    if (!any) {
        remover.Failed(ERROR_FILE_NOT_FOUND);
    }
}

void RemoveEntry(std::string_view text, Remover& remover) {
    FullPath path = ParsePath(text, Wildcards::InLastName);
    if (path.code == ERROR_SUCCESS && path.names.empty()) {
        path.code = kRootFolder;
    }
    if (path.code != ERROR_SUCCESS) {
        remover.Failed(path.code);
        return;
    }
    if (HasWildcards(path.names.back())) {
        RemovePattern(path, remover);
        return;
    }
    const Place place = Locate(path);
    if (!place.Exists()) {
        remover.Failed(place.code);
        return;
    }
    remover.Remove(place.host, path.Text().size());
}

bool IsAbsolute(std::string_view path) {
    return path.size() > 2 && path[1] == ':' && (path[2] == '\\' || path[2] == '/');
}

int Delete(LPCSTR list) {
    for (LPCSTR entry = list; *entry != '\0'; entry += std::strlen(entry) + 1) {
        if (!IsAbsolute(entry)) {
            return kRelativePath;
        }
    }
    Remover remover;
    for (LPCSTR entry = list; *entry != '\0'; entry += std::strlen(entry) + 1) {
        RemoveEntry(entry, remover);
    }
    return static_cast<int>(remover.FirstFailure());
}

}  // namespace
}  // namespace hosted

// Only FO_DELETE, without questions: read-only items go as well. pFrom: full paths, each
// with its NUL, one more NUL behind the last. Result: 0, or the code of the first item that
// stays.
int WINAPI SHFileOperationA(SHFILEOPSTRUCTA* operation) {
    hosted::Call call("SHFileOperationA", hosted::ToUtf8(operation->pFrom), hosted::Call::Changes);
    if (call.Refused()) {
        return static_cast<int>(call.Code());
    }
    int code = ERROR_INVALID_PARAMETER;
    if (operation->wFunc == FO_DELETE && operation->pFrom != nullptr) {
        operation->fAnyOperationsAborted = FALSE;
        code = hosted::Delete(operation->pFrom);
    }
    if (code != 0) {
        call.Fail(static_cast<DWORD>(code));
    }
    return code;
}
