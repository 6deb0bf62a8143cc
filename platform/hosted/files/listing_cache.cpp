// Listings kept from one call to the next. The kernel reports every change of a watched
// folder, whoever makes it, before the call that makes it returns; times of change would
// be too coarse for that.
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>

#include "platform/hosted/descriptor.h"
#include "platform/hosted/files/listing.h"
#include "platform/hosted/machine.h"

namespace hosted {
namespace {

constexpr std::size_t kMostFolders = 256;
constexpr int kUnwatched = -1;

class ListingCache {
 public:
    Listing& Of(const std::string& folder) {
        TakeEvents();
        struct stat status {};
        stat(folder.c_str(), &status);
        const auto known = watches_.find(folder);
        if (known != watches_.end()) {
            const auto kept = folders_.find(known->second);
            if (kept != folders_.end() && kept->second.inode == status.st_ino &&
                kept->second.device == status.st_dev) {
                return kept->second.listing;
            }
        }
        return Read(folder, status);
    }

 private:
    struct Folder {
        dev_t device;
        ino_t inode;
        Listing listing;
    };

    Listing& Read(const std::string& folder, const struct stat& status) {
        if (folders_.size() >= kMostFolders) {
            Clear();
        }
        constexpr unsigned kChanges =
            IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO | IN_DELETE_SELF | IN_ONLYDIR;
        // Watched before it is read: a change in between is taken in twice, which harms nothing.
        const int watch =
            notify_ ? inotify_add_watch(notify_.Get(), folder.c_str(), kChanges) : kUnwatched;
        const auto place =
            folders_.insert_or_assign(watch, Folder{status.st_dev, status.st_ino, Listing(folder)});
        if (watch == kUnwatched) {
            watches_.erase(folder);  // to be read again the next time
        } else {
            watches_[folder] = watch;
        }
        return place.first->second.listing;
    }

    void Clear() {
        folders_.clear();
        watches_.clear();
        notify_ = Descriptor(inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
    }

    void TakeEvents() {
        alignas(inotify_event) std::array<char, 16384> buffer;
        while (notify_) {
            const ssize_t size = read(notify_.Get(), buffer.data(), buffer.size());
            if (size <= 0) {
                return;
            }
            for (std::size_t at = 0; at < static_cast<std::size_t>(size);) {
                const auto* event = reinterpret_cast<const inotify_event*>(&buffer[at]);
                TakeEvent(*event);
                at += sizeof *event + event->len;
            }
        }
    }

    void TakeEvent(const inotify_event& event) {
        if ((event.mask & IN_Q_OVERFLOW) != 0) {
            Clear();
            return;
        }
        const auto folder = folders_.find(event.wd);
        if (folder == folders_.end()) {
            return;
        }
        const char* name = reinterpret_cast<const char*>(&event) + sizeof event;
        if ((event.mask & (IN_IGNORED | IN_DELETE_SELF)) != 0) {
            folders_.erase(folder);
        } else if ((event.mask & (IN_CREATE | IN_MOVED_TO)) != 0) {
            folder->second.listing.Add(name);
        } else {
            folder->second.listing.Remove(name);
        }
    }

    Descriptor notify_{inotify_init1(IN_NONBLOCK | IN_CLOEXEC)};
    std::unordered_map<int, Folder> folders_;  // by watch
    std::unordered_map<std::string, int> watches_;
};

}  // namespace

Listing& ListingOf(const std::string& folder) {
    return Machine::Current().Part<ListingCache>().Of(folder);
}

std::string StoredName(const std::string& folder, std::string_view name) {
    const Listing::Entry* entry = ListingOf(folder).Find(name);
    return entry == nullptr ? std::string() : entry->stored;
}

}  // namespace hosted
