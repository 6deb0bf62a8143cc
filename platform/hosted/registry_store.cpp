#include "platform/hosted/registry_store.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>

#include "platform/hosted/machine.h"

namespace hosted {

namespace {

// The store of the current machine. At exit there may be no machine any more to ask for it.
RegistryStore*& Living() {
    static RegistryStore* store = nullptr;
    return store;
}

bool WriteAll(int file, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t written = write(file, bytes.data(), bytes.size());
        if (written >= 0) {
            bytes.remove_prefix(static_cast<std::size_t>(written));
        } else if (errno != EINTR) {
            return false;
        }
    }
    return true;
}

// From an offset to the end; nothing if the file cannot be read.
std::optional<std::string> ReadFrom(int file, off_t offset) {
    struct stat info = {};
    if (fstat(file, &info) != 0 || !S_ISREG(info.st_mode)) {
        return std::nullopt;
    }
    std::string bytes(static_cast<std::size_t>(std::max<off_t>(info.st_size - offset, 0)), '\0');
    std::size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t count = pread(file, bytes.data() + done, bytes.size() - done,
                                    offset + static_cast<off_t>(done));
        if (count < 0 && errno != EINTR) {
            return std::nullopt;
        }
        if (count == 0) {
            break;
        }
        done += count > 0 ? static_cast<std::size_t>(count) : 0;
    }
    bytes.resize(done);
    return bytes;
}

LSTATUS WriteError() {
    switch (errno) {
        case EACCES:
        case EPERM:
            return ERROR_ACCESS_DENIED;
        case EROFS:
            return ERROR_WRITE_PROTECT;
        default:
            return ERROR_DISK_FULL;
    }
}

}  // namespace

bool FoldRegistry() {
    const MachineLock lock;
    return RegistryStore::Current().Fold();
}

void SaveRegistry() {
    FoldRegistry();
}

void LeaveRegistry() {
    RegistryStore* store = Living();
    if (store != nullptr && store->IsInUse()) {
        const MachineLock lock;
        std::filesystem::path damaged;
        if (!store->Refresh(damaged)) {
            store->Fold();
        }
    }
}

void LoadRegistry() {
    RegistryStore::Current();
}

RegistryStore::RegistryStore()
    : registry_(Machine::Current().Folder() / "registry.reg"),
      log_(Machine::Current().Folder() / "registry.log"),
      temporary_(Machine::Current().Folder() / "registry.tmp") {
    [[maybe_unused]] static const int registered = std::atexit(LeaveRegistry);
    Living() = this;
}

RegistryStore::~RegistryStore() {
    Living() = nullptr;
}

RegistryStore& RegistryStore::Current() {
    Machine& machine = Machine::Current();
    auto& store = machine.Part<RegistryStore>();
    if (!store.IsCurrent()) {
        // Without a lock file nobody has been on this machine yet, and a damaged one is to
        // be left exactly as it is.
        std::optional<MachineLock> lock;
        if (std::filesystem::exists(machine.Folder() / "lock")) {
            lock.emplace();
        }
        std::filesystem::path file;
        if (const std::optional<RegistryDamage> damage = store.Refresh(file)) {
            store.tree_ = nullptr;  // nothing of it is written
            machine.Damaged(file, damage->line, damage->what);
        }
    }
    return store;
}

RegistryStore::Stamp RegistryStore::StampOf(const std::filesystem::path& file) {
    struct stat info = {};
    if (stat(file.c_str(), &info) != 0) {
        return {};
    }
    return {info.st_ino, info.st_size, info.st_mtim.tv_sec, info.st_mtim.tv_nsec};
}

bool RegistryStore::IsCurrent() const {
    if (tree_ == nullptr || StampOf(registry_) != stamp_) {
        return false;
    }
    const Stamp log = StampOf(log_);
    return logFile_ ? log.size == logRead_ : log.size < 0;
}

std::optional<RegistryDamage> RegistryStore::Refresh(std::filesystem::path& damaged) {
    if (IsCurrent()) {
        return std::nullopt;
    }
    struct stat ours = {};
    const Stamp log = StampOf(log_);
    // The log only grows, or goes together with the registry.reg that it belonged to.
    const bool sameLog = !logFile_ || (fstat(logFile_.Get(), &ours) == 0 &&
                                       ours.st_ino == log.file && ours.st_size >= logRead_);
    if (tree_ == nullptr || !sameLog || StampOf(registry_) != stamp_) {
        return ReadAll(damaged);
    }
    damaged = log_;
    return ReadLog();
}

std::optional<RegistryDamage> RegistryStore::ReadAll(std::filesystem::path& damaged) {
    static std::uint64_t epochs = 0;
    damaged = registry_;
    auto tree = std::make_unique<RegistryTree>();
    registryFile_ = Descriptor(open(registry_.c_str(), O_RDONLY | O_CLOEXEC));
    if (!registryFile_ && errno != ENOENT) {
        return RegistryDamage{0, "it cannot be read"};
    }
    stamp_ = StampOf(registry_);
    if (registryFile_) {  // a machine without one has an empty registry
        const std::optional<std::string> text = ReadFrom(registryFile_.Get(), 0);
        if (!text) {
            return RegistryDamage{0, "it cannot be read"};
        }
        const std::string& user = Machine::Current().GetSettings().user;
        if (auto damage = ReadRegistryText(*text, user, *tree)) {
            return damage;
        }
    }
    tree_ = std::move(tree);
    epoch_ = ++epochs;
    logFile_ = Descriptor();
    logRead_ = 0;
    logLines_ = 0;
    damaged = log_;
    return ReadLog();
}

std::optional<RegistryDamage> RegistryStore::ReadLog() {
    if (!logFile_) {
        logFile_ = Descriptor(open(log_.c_str(), O_RDWR | O_APPEND | O_CLOEXEC));
        if (!logFile_) {
            return errno == ENOENT ? std::nullopt
                                   : std::optional(RegistryDamage{0, "it cannot be read"});
        }
    }
    const std::optional<std::string> text = ReadFrom(logFile_.Get(), logRead_);
    if (!text) {
        return RegistryDamage{0, "it cannot be read"};
    }
    const std::size_t whole = text->rfind('\n') + 1;  // 0 if there is none
    const std::string_view lines = std::string_view(*text).substr(0, whole);
    auto damage =
        ReadRegistryChanges(lines, Machine::Current().GetSettings().user, logLines_ + 1, *tree_);
    logLines_ += static_cast<unsigned>(std::count(lines.begin(), lines.end(), '\n'));
    logRead_ += static_cast<off_t>(whole);
    if (!damage && whole < text->size() && ftruncate(logFile_.Get(), logRead_) != 0) {
        return RegistryDamage{logLines_ + 1, "its unfinished last line cannot be cut off"};
    }
    return damage;
}

LSTATUS RegistryStore::Append(std::string_view record) {
    if (!logFile_) {
        logFile_ = Descriptor(open(log_.c_str(), O_RDWR | O_CREAT | O_APPEND | O_CLOEXEC, 0644));
        if (!logFile_) {
            return WriteError();
        }
    }
    if (!WriteAll(logFile_.Get(), record)) {
        const LSTATUS code = WriteError();
        // Where even this fails, it is left to the next reader.
        [[maybe_unused]] const int ignored = ftruncate(logFile_.Get(), logRead_);
        return code;
    }
    logRead_ += static_cast<off_t>(record.size());
    logLines_ += static_cast<unsigned>(std::count(record.begin(), record.end(), '\n'));
    return ERROR_SUCCESS;
}

LSTATUS RegistryStore::Create(std::string_view fullName, std::shared_ptr<RegistryNode>& key) {
    const LSTATUS code = Append(KeyLine(fullName));
    if (code == ERROR_SUCCESS) {
        key = tree_->Create(fullName);
    }
    return code;
}

LSTATUS RegistryStore::Delete(RegistryNode& key) {
    const LSTATUS code = Append(DeletedKeyLine(key.FullName()));
    if (code == ERROR_SUCCESS) {
        tree_->Delete(key);
    }
    return code;
}

LSTATUS RegistryStore::SetValue(RegistryNode& key, std::string_view name, DWORD type,
                                std::string data) {
    const LSTATUS code = Append(KeyLine(key.FullName()) + ValueLine(name, type, data));
    if (code == ERROR_SUCCESS) {
        tree_->SetValue(key, name, type, std::move(data));
    }
    return code;
}

LSTATUS RegistryStore::DeleteValue(RegistryNode& key, std::string_view name) {
    const LSTATUS code = Append(KeyLine(key.FullName()) + DeletedValueLine(name));
    if (code == ERROR_SUCCESS) {
        RegistryTree::DeleteValue(key, name);
    }
    return code;
}

bool RegistryStore::Write(const std::string& text) const {
    const Descriptor file(open(temporary_.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644));
    return file && WriteAll(file.Get(), text);
}

bool RegistryStore::Fold() {
    if (!logFile_) {
        return true;
    }
    if (!Write(RegistryText(*tree_))) {
        unlink(temporary_.c_str());
        return false;
    }
    if (rename(temporary_.c_str(), registry_.c_str()) != 0) {
        return false;
    }
    unlink(log_.c_str());
    registryFile_ = Descriptor(open(registry_.c_str(), O_RDONLY | O_CLOEXEC));
    stamp_ = StampOf(registry_);
    logFile_ = Descriptor();
    logRead_ = 0;
    logLines_ = 0;
    return true;
}

}  // namespace hosted
