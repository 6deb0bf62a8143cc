// The processes of the machine: what each of them runs, where its current folder is, what
// it has open. Every live process has a file in processes/ and holds it locked, so that
// the entry of a killed one is known to be out of date.
#pragma once

#include <sys/stat.h>

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/hosted/descriptor.h"
#include "platform/hosted/machine.h"

namespace hosted {

// Which file or folder it is, whatever its name.
struct FileId {
    dev_t device = 0;
    ino_t inode = 0;
    bool operator==(const FileId&) const = default;
};
inline FileId IdOf(const struct stat& status) {
    return {status.st_dev, status.st_ino};
}

struct OpenedFile {
    FileId id;
    DWORD access = 0, share = 0;
    bool operator==(const OpenedFile&) const = default;
};

struct ProcessRecord {
    int pid = 0;
    FileId module, folder;
    std::string modulePath, folderPath;  // machine paths, for people who read the file
    std::vector<OpenedFile> files;
};

// One entry: the file exists, locked, for as long as the object lives.
class ProcessEntry {
 public:
    // name: the file in processes/. descriptor: the file, already open and locked, where
    // whoever started the process has made it.
    explicit ProcessEntry(std::string_view name, Descriptor descriptor = Descriptor());
    ~ProcessEntry();
    ProcessEntry(const ProcessEntry&) = delete;
    ProcessEntry& operator=(const ProcessEntry&) = delete;

    // Changes the record; everybody sees it when the function returns.
    void Change(const std::function<void(ProcessRecord&)>& change);
    // The open file, for a process that is to hold it on.
    [[nodiscard]] int File() const { return file_.Get(); }

 private:
    fs::path path_;
    Descriptor file_;
    ProcessRecord record_;
};

// The entry of this process, made on first use.
ProcessEntry& OwnEntry();
// For a program that starts: takes over the entry that its starter has made for it, or
// makes one of its own, and says in it what runs and where.
void EnterProcess();

// True if a live process fits. The machine should be locked.
bool AnyProcess(const std::function<bool(const ProcessRecord&)>& fits);

// Why a file may not be opened with this access (GENERIC_...) and share, or deleted: 0 if
// nobody stands against it.
DWORD OpenConflict(FileId file, DWORD access, DWORD share);
DWORD DeleteConflict(FileId file);
bool IsCurrentFolder(FileId folder);

}  // namespace hosted
