#include "platform/hosted/process/process_table.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <sstream>

#include "platform/hosted/files/folders.h"
#include "platform/hosted/files/paths.h"
#include "platform/hosted/lock.h"
#include "platform/hosted/process/start.h"

namespace hosted {
namespace {

fs::path Folder() {
    return Machine::Current().Folder() / "processes";
}

std::string TextOf(const ProcessRecord& record) {
    std::ostringstream text;
    text << "process " << record.pid << '\n';
    text << "module " << record.module.device << ' ' << record.module.inode << ' '
         << ToUtf8(record.modulePath) << '\n';
    text << "folder " << record.folder.device << ' ' << record.folder.inode << ' '
         << ToUtf8(record.folderPath) << '\n';
    for (const OpenedFile& file : record.files) {
        text << "file " << file.id.device << ' ' << file.id.inode << ' ' << file.access << ' '
             << file.share << '\n';
    }
    return text.str();
}

std::string RestOf(std::istringstream& line) {
    std::string rest;
    std::getline(line, rest);
    return FromUtf8(rest);
}

ProcessRecord RecordOf(const std::string& content) {
    ProcessRecord record;
    std::istringstream text(content);
    std::string line;
    while (std::getline(text, line)) {
        std::istringstream fields(line);
        std::string kind;
        fields >> kind;
        if (kind == "process") {
            fields >> record.pid;
        } else if (kind == "module") {
            fields >> record.module.device >> record.module.inode >> std::ws;
            record.modulePath = RestOf(fields);
        } else if (kind == "folder") {
            fields >> record.folder.device >> record.folder.inode >> std::ws;
            record.folderPath = RestOf(fields);
        } else if (kind == "file") {
            OpenedFile file;
            fields >> file.id.device >> file.id.inode >> file.access >> file.share;
            record.files.push_back(file);
        }
    }
    return record;
}

std::string Content(int file) {
    std::string text;
    std::array<char, 4096> buffer{};
    ssize_t size = 0;
    while ((size = pread(file, buffer.data(), buffer.size(), static_cast<off_t>(text.size()))) >
           0) {
        text.append(buffer.data(), static_cast<std::size_t>(size));
    }
    return text;
}

// The live entries as they were at the last look.
struct Table {
    std::vector<ProcessRecord> records;
    std::uint64_t changes = 0;
    bool read = false;

    void Read() {
        const MachineLock lock;
        changes = ProcessChanges();
        read = true;
        records.clear();
        const std::unique_ptr<DIR, int (*)(DIR*)> stream(opendir(Folder().c_str()), &closedir);
        while (const dirent* entry = stream == nullptr ? nullptr : readdir(stream.get())) {
            const std::string_view name = static_cast<const char*>(entry->d_name);
            if (name.front() != '.') {
                ReadEntry(Folder() / name);
            }
        }
    }

 private:
    void ReadEntry(const fs::path& path) {
        const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
        if (!file) {
            return;
        }
        if (flock(file.Get(), LOCK_EX | LOCK_NB) == 0) {
            unlink(path.c_str());  // nobody holds it: its process has died
            return;
        }
        records.push_back(RecordOf(Content(file.Get())));
    }
};

struct Own {
    std::unique_ptr<ProcessEntry> entry;
};

FileId IdAt(std::string_view path) {
    const Place place = LocateTarget(path);
    return place.Exists() ? IdOf(place.status) : FileId{};
}

bool Conflicts(const OpenedFile& file, DWORD access, DWORD share) {
    const auto denied = [](DWORD wanted, DWORD granted) {
        return ((wanted & GENERIC_READ) != 0 && (granted & FILE_SHARE_READ) == 0) ||
               ((wanted & GENERIC_WRITE) != 0 && (granted & FILE_SHARE_WRITE) == 0);
    };
    return denied(access, file.share) || denied(file.access, share);
}

}  // namespace

ProcessEntry::ProcessEntry(std::string_view name, Descriptor descriptor)
    : path_(Folder() / name), file_(std::move(descriptor)) {
    const MachineLock lock;
    if (file_) {
        record_ = RecordOf(Content(file_.Get()));
        return;
    }
    std::error_code error;
    fs::create_directories(Folder(), error);
    unlink(path_.c_str());  // left by a killed process that had the same number
    file_ = Descriptor(open(path_.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
    if (!file_ || flock(file_.Get(), LOCK_EX | LOCK_NB) != 0) {
        std::perror(path_.c_str());
    }
    record_.pid = getpid();
    Change([](ProcessRecord&) {});
}

ProcessEntry::~ProcessEntry() {
    // Not counted as a change: whoever still believes in the entry looks again before it
    // lets the entry stand in its way.
    unlink(path_.c_str());
}

void ProcessEntry::Change(const std::function<void(ProcessRecord&)>& change) {
    const MachineLock lock;
    change(record_);
    const std::string text = TextOf(record_);
    const auto size = static_cast<ssize_t>(text.size());
    if (pwrite(file_.Get(), text.data(), text.size(), 0) != size ||
        ftruncate(file_.Get(), size) != 0) {
        std::perror(path_.c_str());
    }
    CountProcessChange();
}

ProcessEntry& OwnEntry() {
    auto& own = Machine::Current().Part<Own>();
    if (own.entry == nullptr) {
        own.entry = std::make_unique<ProcessEntry>(std::to_string(getpid()));
    }
    return *own.entry;
}

namespace {

// What a starter hands over: nothing if there is none, or if a stray variable speaks of one.
Descriptor EntryFromStarter(const std::string& name) {
    const char* number = std::getenv(kEntryVariable);
    const int file = number == nullptr ? -1 : static_cast<int>(std::strtol(number, nullptr, 10));
    unsetenv(kEntryVariable);
    struct stat mine {};
    struct stat entry {};
    if (file <= STDERR_FILENO || fstat(file, &mine) != 0 ||
        stat((Folder() / name).c_str(), &entry) != 0 || IdOf(mine) != IdOf(entry)) {
        return Descriptor();
    }
    fcntl(file, F_SETFD, FD_CLOEXEC);
    return Descriptor(file);
}

}  // namespace

void EnterProcess() {
    const std::string name = std::to_string(getpid());
    Descriptor given = EntryFromStarter(name);
    if (given) {
        Machine::Current().Part<Own>().entry =
            std::make_unique<ProcessEntry>(name, std::move(given));
        return;
    }
    const std::string module = Machine::Current().ModulePath();
    OwnEntry().Change([&](ProcessRecord& record) {
        record.module = IdAt(module);
        record.modulePath = module;
    });
    SetCurrentFolder(CurrentFolder());
}

bool AnyProcess(const std::function<bool(const ProcessRecord&)>& fits) {
    auto& table = Machine::Current().Part<Table>();
    const auto any = [&] { return std::any_of(table.records.begin(), table.records.end(), fits); };
    // A process that seems to fit may have died since: death is not counted.
    if (!table.read || table.changes != ProcessChanges() || any()) {
        table.Read();
    }
    return any();
}

DWORD OpenConflict(FileId file, DWORD access, DWORD share) {
    const bool conflict = AnyProcess([&](const ProcessRecord& process) {
        if (process.module == file && (access & GENERIC_WRITE) != 0) {
            return true;
        }
        return std::any_of(process.files.begin(), process.files.end(), [&](const auto& opened) {
            return opened.id == file && Conflicts(opened, access, share);
        });
    });
    return conflict ? ERROR_SHARING_VIOLATION : ERROR_SUCCESS;
}

DWORD DeleteConflict(FileId file) {
    const auto runs = [&](const ProcessRecord& process) { return process.module == file; };
    const auto holds = [&](const ProcessRecord& process) {
        return std::any_of(process.files.begin(), process.files.end(), [&](const auto& opened) {
            return opened.id == file && (opened.share & FILE_SHARE_DELETE) == 0;
        });
    };
    if (!AnyProcess([&](const auto& process) { return runs(process) || holds(process); })) {
        return ERROR_SUCCESS;
    }
    return AnyProcess(runs) ? ERROR_ACCESS_DENIED : ERROR_SHARING_VIOLATION;
}

bool IsCurrentFolder(FileId folder) {
    return AnyProcess([&](const ProcessRecord& process) { return process.folder == folder; });
}

}  // namespace hosted
