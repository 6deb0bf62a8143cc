// The machine's lock file.
#include "platform/hosted/lock.h"

#include <fcntl.h>
#include <sys/file.h>

#include <cerrno>
#include <cstdio>

#include "platform/hosted/descriptor.h"
#include "platform/hosted/machine.h"

namespace hosted {
namespace {

struct LockFile {
    LockFile()
        : file(open((Machine::Current().Folder() / "lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC,
                    0666)) {
        if (!file) {
            std::perror("lock");
        }
    }
    Descriptor file;
    unsigned depth = 0;
};

LockFile& Lock() {
    return Machine::Current().Part<LockFile>();
}

}  // namespace

MachineLock::MachineLock() {
    LockFile& lock = Lock();
    if (lock.depth++ == 0) {
        while (flock(lock.file.Get(), LOCK_EX) != 0 && errno == EINTR) {
        }
    }
}

MachineLock::~MachineLock() {
    LockFile& lock = Lock();
    if (--lock.depth == 0) {
        flock(lock.file.Get(), LOCK_UN);
    }
}

std::uint64_t ProcessChanges() {
    std::uint64_t count = 0;
    const ssize_t size = pread(Lock().file.Get(), &count, sizeof count, 0);
    return size == sizeof count ? count : 0;
}

void CountProcessChange() {
    const std::uint64_t count = ProcessChanges() + 1;
    if (pwrite(Lock().file.Get(), &count, sizeof count, 0) != sizeof count) {
        std::perror("lock");
    }
}

}  // namespace hosted
