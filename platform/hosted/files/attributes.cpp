#include "platform/hosted/files/attributes.h"

#include <fcntl.h>
#include <unistd.h>

#include <fstream>
#include <map>
#include <sstream>

#include "platform/hosted/machine.h"

namespace hosted {
namespace {

// Up to here the file is written anew for every change; a longer one grows by a line for
// each change ("- C:\path": it has none any more) until half of its lines are out of date.
constexpr std::size_t kAlwaysWhole = 64;

class AttributesFile {
 public:
    DWORD Of(const std::string& path) {
        Refresh();
        if (lines_.empty()) {
            return 0;
        }
        const auto line = lines_.find(UpperCase(path));
        return line == lines_.end() ? 0 : line->second.attributes;
    }

    void Keep(const std::string& path, DWORD attributes) {
        // What lies outside the machine, behind a link, keeps none.
        if (path.empty() || Of(path) == attributes) {
            return;
        }
        const MachineLock lock;
        Refresh();
        const std::string text = TextOf(attributes) + ' ' + ToUtf8(path);
        Take(path, attributes);
        ++count_;
        if (count_ <= kAlwaysWhole || count_ > 2 * lines_.size()) {
            WriteWhole();
        } else {
            Machine::Current().AppendLine(kName, text);
        }
        stamp_ = StampNow();
    }

 private:
    static constexpr std::string_view kName = "attributes.txt";

    struct Line {
        std::string path;
        DWORD attributes;
    };
    struct Stamp {
        ino_t inode;
        off_t size;
        std::int64_t seconds, nanoseconds;
        bool operator==(const Stamp&) const = default;
    };

    static fs::path FileName() { return Machine::Current().Folder() / kName; }

    static Stamp StampNow() {
        struct stat status {};
        if (stat(FileName().c_str(), &status) != 0) {
            return {};
        }
        return {status.st_ino, status.st_size, status.st_mtim.tv_sec, status.st_mtim.tv_nsec};
    }

    static std::string TextOf(DWORD attributes) {
        std::string text;
        text += (attributes & FILE_ATTRIBUTE_READONLY) != 0 ? "R" : "";
        text += (attributes & FILE_ATTRIBUTE_HIDDEN) != 0 ? "H" : "";
        text += (attributes & FILE_ATTRIBUTE_SYSTEM) != 0 ? "S" : "";
        return text.empty() ? "-" : text;
    }

    void Take(const std::string& path, DWORD attributes) {
        if (attributes == 0) {
            lines_.erase(UpperCase(path));
        } else {
            lines_[UpperCase(path)] = {path, attributes};
        }
    }

    // Reads the file again if somebody has changed it.
    void Refresh() {
        const Stamp now = StampNow();
        if (now == stamp_) {
            return;
        }
        stamp_ = now;
        lines_.clear();
        count_ = 0;
        std::ifstream file(FileName(), std::ios::binary);
        std::string text;
        while (std::getline(file, text)) {
            ++count_;
            if (!text.empty() && text.back() == '\r') {
                text.pop_back();
            }
            if (!text.empty()) {
                ReadLine(text);
            }
        }
    }

    void ReadLine(const std::string& text) {
        const std::size_t blank = text.find(' ');
        DWORD attributes = 0;
        for (const char letter : text.substr(0, blank)) {
            switch (letter) {
                case 'R':
                    attributes |= FILE_ATTRIBUTE_READONLY;
                    break;
                case 'H':
                    attributes |= FILE_ATTRIBUTE_HIDDEN;
                    break;
                case 'S':
                    attributes |= FILE_ATTRIBUTE_SYSTEM;
                    break;
                case '-':
                    break;
                default:
                    Wrong();
            }
        }
        if (blank == std::string::npos) {
            Wrong();
        }
        Take(FromUtf8(std::string_view(text).substr(blank + 1)), attributes);
    }

    [[noreturn]] void Wrong() const {
        Machine::Current().Damaged(FileName(), static_cast<unsigned>(count_),
                                   "not attributes (R, H, S), a blank and a path");
    }

    void WriteWhole() {
        std::ostringstream text;
        for (const auto& [key, line] : lines_) {
            text << TextOf(line.attributes) << ' ' << ToUtf8(line.path) << '\n';
        }
        const fs::path next = FileName().native() + ".new";
        std::ofstream(next, std::ios::binary) << text.str();
        fs::rename(next, FileName());
        count_ = lines_.size();
    }

    std::map<std::string, Line> lines_;  // by the path's capitals
    std::size_t count_ = 0;              // lines in the file
    Stamp stamp_{};
};

}  // namespace

DWORD KeptAttributes(const std::string& host) {
    return Machine::Current().Part<AttributesFile>().Of(MachinePath(host));
}

void KeepAttributes(const std::string& host, DWORD attributes) {
    Machine::Current().Part<AttributesFile>().Keep(MachinePath(host), attributes & kKeptAttributes);
}

DWORD AttributesOf(const std::string& host, const struct stat& status) {
    DWORD attributes = KeptAttributes(host);
    if (S_ISLNK(status.st_mode)) {
        attributes |= FILE_ATTRIBUTE_REPARSE_POINT;
        struct stat target {};
        if (stat(host.c_str(), &target) != 0 || S_ISDIR(target.st_mode)) {
            return attributes | FILE_ATTRIBUTE_DIRECTORY;
        }
    }
    return attributes |
           (S_ISDIR(status.st_mode) ? FILE_ATTRIBUTE_DIRECTORY : FILE_ATTRIBUTE_ARCHIVE);
}

}  // namespace hosted
