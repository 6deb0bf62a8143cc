// The machine of this process: where it is, what it says about itself, who may change it.
#include "platform/hosted/machine.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <unordered_map>

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
fs::path MachineAround(const fs::path& program) {
    fs::path folder;
    for (auto part = program.begin(); part != program.end(); ++part) {
        const auto drive = std::next(part);
        if (*part == "drives" && drive != program.end() && drive->native().size() == 1 &&
            std::next(drive) != program.end()) {
            return folder;
        }
        folder /= *part;
    }
    return {};
}

[[noreturn]] void GiveUp(const std::string& sentence) {
    static_cast<void>(std::fprintf(stderr, "UnInstall: %s\n", sentence.c_str()));
    std::exit(2);
}

}  // namespace

struct Machine::State {
    fs::path folder;
    Settings settings;
    std::string module;
    std::string role = "first";
    std::unordered_map<std::type_index, std::shared_ptr<void>> parts;
};

Machine& Machine::Current() {
    std::unique_ptr<Machine>& slot = CurrentSlot();
    if (slot == nullptr) {
        fs::path folder = MachineAround(OwnProgram());
        if (folder.empty()) {
            const char* named = std::getenv("UNINSTALL_MACHINE");
            if (named == nullptr || *named == '\0') {
                GiveUp(
                    "this program lies on no machine (a folder with \"drives/C\"), and "
                    "UNINSTALL_MACHINE names none.");
            }
            folder = named;
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

void Machine::UseAfterFork(std::initializer_list<int> keep) {
    const fs::path folder = Current().Folder();
    // Not destroyed: what it holds is the parent's to tidy up.
    static_cast<void>(CurrentSlot().release());
    unsigned from = 3;
    for (const int kept : keep) {
        if (static_cast<unsigned>(kept) > from) {
            close_range(from, static_cast<unsigned>(kept) - 1, 0);
        }
        from = static_cast<unsigned>(kept) + 1;
    }
    close_range(from, ~0U, 0);
    CurrentSlot() = std::make_unique<Machine>(folder);
}

Machine::Machine(const fs::path& folder) : state_(std::make_unique<State>()) {
    std::error_code error;
    state_->folder = fs::canonical(folder, error);
    if (error) {
        GiveUp("the machine folder \"" + folder.string() + "\" cannot be opened.");
    }
    const fs::path file = state_->folder / "machine.ini";
    std::ifstream stream(file, std::ios::binary);
    std::ostringstream text;
    if (!stream || !(text << stream.rdbuf())) {
        // An empty file is read without a character, which the stream calls a failure.
        if (!fs::is_regular_file(file, error) || fs::file_size(file, error) != 0) {
            GiveUp("the machine folder \"" + folder.string() + "\" has no readable machine.ini.");
        }
    }
    try {
        state_->settings = ReadSettings(text.str());
    } catch (const Damage& damage) {
        Damaged(file, damage.line, damage.what);
    }
    state_->module = MachinePath(state_->folder, OwnProgram());
}

Machine::~Machine() = default;

const fs::path& Machine::Folder() const {
    return state_->folder;
}
const Settings& Machine::GetSettings() const {
    return state_->settings;
}
std::string Machine::ModulePath() const {
    return state_->module;
}
const std::string& Machine::Role() const {
    return state_->role;
}
void Machine::SetRole(std::string_view role) {
    state_->role = role;
}

std::shared_ptr<void>& Machine::Slot(std::type_index type) {
    return state_->parts[type];
}

void Machine::AppendLine(std::string_view file, std::string_view line) {
    const Descriptor out(
        open((state_->folder / file).c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0666));
    std::string text(line);
    text += '\n';
    // One write, so that the lines of several processes never mix.
    if (!out || write(out.Get(), text.data(), text.size()) < 0) {
        std::perror(std::string(file).c_str());
    }
}

void Machine::Damaged(const fs::path& file, unsigned line, std::string_view what) const {
    const std::string place = line == 0 ? "" : ", line " + std::to_string(line);
    GiveUp(file.string() + place + ": " + std::string(what) + ".");
}

}  // namespace hosted
