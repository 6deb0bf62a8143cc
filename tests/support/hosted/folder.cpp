#include "tests/support/hosted/folder.h"

#include <sstream>

#include "platform/hosted/machine.h"
#include "platform/hosted/registry/registry.h"

namespace support {
namespace {

// The machine that the process has entered.
fs::path& Entered() {
    static fs::path folder;
    return folder;
}

}  // namespace

void MachineFolder::SetAttributes(const std::string& path, const std::string& letters) const {
    machine::Attributes attributes = machine::ReadAttributes(folder_);
    attributes[path] = letters;
    std::string text;
    for (const auto& [name, value] : attributes) {
        if (!value.empty()) {
            text.append(value).append(" ").append(name).append("\n");
        }
    }
    WriteBytes(folder_ / "attributes.txt", text);
}

void MachineFolder::WriteRegistry(const Keys& keys) const {
    WriteBytes(folder_ / "registry.reg", regtext::Format(keys));
    if (Entered() == folder_) {
        hosted::Machine::Current().registry.reset();  // to be read again
    }
}

void MachineFolder::ChangeSetting(const std::string& section, const std::string& left,
                                  const std::string& line) const {
    std::istringstream lines(ReadBytes(folder_ / "machine.ini"));
    std::string text;
    bool inside = false;
    bool done = line.empty();
    for (std::string old; std::getline(lines, old);) {
        inside = old.starts_with('[') ? old == "[" + section + "]" : inside;
        if (inside && old.starts_with(left + "=")) {
            continue;
        }
        text += old + "\n";
        if (inside && !done) {
            text += line + "\n";
            done = true;
        }
    }
    text += done ? "" : "[" + section + "]\n" + line + "\n";
    WriteBytes(folder_ / "machine.ini", text);
}

void MachineFolder::Enter() const {
    hosted::Machine::Use(folder_);
    Entered() = folder_;
}

void MachineFolder::Leave() const {
    if (Entered() == folder_) {
        hosted::Machine::Leave();
        Entered().clear();
    }
}

State MachineFolder::Look() const {
    if (Entered() == folder_) {
        hosted::SaveRegistry();
    }
    return machine::Look(folder_);
}

}  // namespace support
