// The registry of the machine, shared by all its processes.
//
// registry.reg is the registry as people read and edit it. A change does not rewrite it:
// it is appended to registry.log beside it, in the same syntax and under MachineLock, and
// every process reads just what the log has gained. Folding writes the whole registry
// anew, by rename, and removes the log; each process folds at its normal end, so that
// people only ever meet registry.reg. What a kill can leave behind:
//   - an unfinished last line in the log: the next reader cuts it off;
//   - a log whose changes are in registry.reg already: every change says how things are
//     afterwards, so applying them all once more ends in the same registry;
//   - a half-written registry.tmp: nobody reads it.
#pragma once

#include <sys/stat.h>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/hosted/descriptor.h"
#include "platform/hosted/registry/file.h"
#include "platform/hosted/registry/tree.h"

namespace hosted {

// Makes registry.reg current and removes registry.log, for those who look at the file from
// outside. False if it could not be written; nothing is lost then, the log stays.
bool FoldRegistry();

// The same if this process has used the registry, at its end: runs by itself at exit or
// return from main, and is to be called before _exit and before another machine is used.
// Never ends the process.
void LeaveRegistry();

// Reads the registry now; a damaged file ends the process here (Machine::Damaged).
void LoadRegistry();

class RegistryStore {
 public:
    // The registry of Machine::Current() as it is now, changes of other processes included.
    static RegistryStore& Current();

    [[nodiscard]] const RegistryTree& Tree() const { return *tree_; }
    // Another number after each reading of the whole registry, when no key of before is
    // part of the tree any more.
    [[nodiscard]] std::uint64_t Epoch() const { return epoch_; }

    // Changes. The caller holds MachineLock since before Current(). They give 0 or the
    // Win32 code of why the log could not be written; then nothing has changed.
    LSTATUS Create(std::string_view fullName, std::shared_ptr<RegistryNode>& key);
    LSTATUS Delete(RegistryNode& key);
    LSTATUS SetValue(RegistryNode& key, std::string_view name, DWORD type, std::string data);
    LSTATUS DeleteValue(RegistryNode& key, std::string_view name);

    RegistryStore();  // of Machine::Current(), which keeps it
    ~RegistryStore();
    RegistryStore(const RegistryStore&) = delete;
    RegistryStore& operator=(const RegistryStore&) = delete;
    [[nodiscard]] bool IsInUse() const { return tree_ != nullptr && StampOf(log_) != Stamp(); }
    // Both likewise under MachineLock. Refresh takes over what other processes have
    // changed and gives the damage of a file, and of which; Fold is FoldRegistry.
    std::optional<RegistryDamage> Refresh(std::filesystem::path& damaged);
    bool Fold();

 private:
    // What tells one registry.reg from another. The file is kept open: its number cannot
    // go to another file meanwhile.
    struct Stamp {
        ino_t file = 0;
        off_t size = -1;
        std::int64_t seconds = 0, nanoseconds = 0;
        bool operator==(const Stamp&) const = default;
    };

    [[nodiscard]] static Stamp StampOf(const std::filesystem::path& file);
    [[nodiscard]] bool IsCurrent() const;
    std::optional<RegistryDamage> ReadAll(std::filesystem::path& damaged);
    std::optional<RegistryDamage> ReadLog();
    LSTATUS Append(std::string_view record);
    [[nodiscard]] bool Write(const std::string& text) const;

    std::filesystem::path registry_, log_, temporary_;
    std::unique_ptr<RegistryTree> tree_;  // null: not read yet
    std::uint64_t epoch_ = 0;
    Descriptor registryFile_, logFile_;
    Stamp stamp_;
    off_t logRead_ = 0;      // so much of the log is in the tree: whole lines
    unsigned logLines_ = 0;  // and how many they are
};

}  // namespace hosted
