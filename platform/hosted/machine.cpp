// The machine of this process: where it is and what it says about itself.
#include "platform/hosted/machine.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>

#include "platform/hosted/descriptor.h"
#include "platform/hosted/registry/registry.h"

namespace hosted {
namespace {

std::unique_ptr<Machine>& CurrentSlot() {
    static std::unique_ptr<Machine> machine;
    return machine;
}

fs::path OwnProgram() {
    std::error_code error;
    return fs::read_symlink("/proc/self/exe", error);
}

// The folder above "drives/X" of a program's file; empty where there is none. The outermost
// counts: a machine may well hold a folder that is itself called "drives".
fs::path MachineAround(const std::string& program) {
    constexpr std::string_view kDrives = "/drives/";
    std::size_t at = program.find(kDrives);
    while (at != std::string::npos && program.substr(at + kDrives.size() + 1, 1) != "/") {
        at = program.find(kDrives, at + 1);
    }
    return program.substr(0, at == std::string::npos ? 0 : at);
}

[[noreturn]] void GiveUp(const std::string& sentence) {
    static_cast<void>(std::fprintf(stderr, "UnInstall: %s\n", sentence.c_str()));
    std::exit(2);
}

}  // namespace

Machine& Machine::Current() {
    std::unique_ptr<Machine>& slot = CurrentSlot();
    if (slot == nullptr) {
        const fs::path folder = MachineAround(OwnProgram());
        if (folder.empty()) {
            GiveUp("this program lies on no machine (a folder with \"drives/C\").");
        }
        slot = std::make_unique<Machine>(folder);
    }
    return *slot;
}

void Machine::Use(const fs::path& folder) {
    Leave();
    CurrentSlot() = std::make_unique<Machine>(folder);
}

void Machine::Leave() {
    if (CurrentSlot()) {
        SaveRegistry();
    }
    CurrentSlot().reset();
}

void Machine::UseAfterFork(int keep) {
    constexpr int kKept = 3;
    const fs::path folder = Current().Folder();
    // Not destroyed: what it holds is the parent's to tidy up.
    static_cast<void>(CurrentSlot().release());
    dup2(keep, kKept);
    close_range(kKept + 1, ~0U, 0);
    CurrentSlot() = std::make_unique<Machine>(folder);
}

Machine::Machine(const fs::path& folder) {
    std::error_code error;
    folder_ = fs::canonical(folder, error);
    if (error) {
        GiveUp("the machine folder \"" + folder.string() + "\" cannot be opened.");
    }
    const fs::path file = folder_ / "machine.ini";
    std::ifstream stream(file, std::ios::binary);
    if (!stream) {
        GiveUp("the machine folder \"" + folder.string() + "\" has no readable machine.ini.");
    }
    try {
        settings_ = ReadSettings(std::string(std::istreambuf_iterator<char>(stream), {}));
    } catch (const Damage& damage) {
        Damaged(file, damage.line, damage.what);
    }
    module_ = MachinePath(folder_, OwnProgram());
}

void Machine::AppendLine(std::string_view file, std::string_view line) const {
    const Descriptor out(
        ::open((folder_ / file).c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0666));
    std::string text(line);
    text += '\n';
    // One write, so that the lines of several processes never mix.
    if (!out || write(out.Get(), text.data(), text.size()) < 0) {
        std::perror(std::string(file).c_str());
    }
}

void Machine::Damaged(const fs::path& file, unsigned line, std::string_view what) {
    const std::string place = line == 0 ? "" : ", line " + std::to_string(line);
    GiveUp(file.string() + place + ": " + std::string(what) + ".");
}

}  // namespace hosted
