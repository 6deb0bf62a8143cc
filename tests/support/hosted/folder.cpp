#include "tests/support/hosted/folder.h"

#include <sstream>
#include <stdexcept>

#include "platform/hosted/machine.h"
#include "platform/hosted/registry/registry.h"
#include "tools/machine/stage.h"

namespace support {
namespace {

// The machine that the process has entered.
fs::path& Entered() {
    static fs::path folder;
    return folder;
}

}  // namespace

MachineFolder::MachineFolder(fs::path folder) : folder_(std::move(folder)) {}

void MachineFolder::Stage(const fs::path& stage, const fs::path& program) const {
    fs::create_directories(folder_ / "drives" / "C");
    fs::copy_file(stage / "machine.ini", folder_ / "machine.ini");
    fs::copy_file(stage / "registry.reg", folder_ / "registry.reg");
    std::string attributes;
    for (const StagedFile& file : ReadStagedFiles(stage / "files.txt")) {
        const fs::path host = Host(file.path);
        if (file.kind == StagedFile::Kind::Folder) {
            fs::create_directories(host);
        } else {
            fs::create_directories(host.parent_path());
            if (file.kind == StagedFile::Kind::Program) {
                fs::copy_file(program, host);
            } else {
                WriteBytes(host, file.content);
            }
        }
        if (!file.attributes.empty()) {
            attributes += file.attributes + " " + file.path + "\n";
        }
    }
    WriteBytes(folder_ / "attributes.txt", attributes);
}

fs::path MachineFolder::Host(const std::string& path) const {
    if (path.size() < 2 || path[1] != ':') {
        throw std::runtime_error("not a path of the machine: " + path);
    }
    fs::path host = folder_ / "drives" / path.substr(0, 1);
    std::istringstream parts(path.substr(2));
    for (std::string part; std::getline(parts, part, '\\');) {
        host /= part;
    }
    return host;
}

std::map<std::string, std::string> MachineFolder::ReadAttributes() const {
    std::map<std::string, std::string> attributes;
    if (fs::exists(folder_ / "attributes.txt")) {
        std::istringstream lines(ReadBytes(folder_ / "attributes.txt"));
        for (std::string line; std::getline(lines, line);) {
            const std::size_t blank = line.find(' ');
            if (blank != std::string::npos) {
                attributes[line.substr(blank + 1)] = line.substr(0, blank);
            }
        }
    }
    return attributes;
}

void MachineFolder::SetAttributes(const std::string& path, const std::string& letters) const {
    std::map<std::string, std::string> attributes = ReadAttributes();
    attributes[path] = letters;
    std::string text;
    for (const auto& [name, value] : attributes) {
        if (!value.empty()) {
            text.append(value).append(" ").append(name).append("\n");
        }
    }
    WriteBytes(folder_ / "attributes.txt", text);
}

Keys MachineFolder::ReadRegistry() const {
    if (Entered() == folder_) {
        hosted::SaveRegistry();
    }
    return regtext::Parse(ReadBytes(folder_ / "registry.reg"));
}

void MachineFolder::WriteRegistry(const Keys& keys) const {
    WriteBytes(folder_ / "registry.reg", regtext::Format(keys));
    if (Entered() == folder_) {
        hosted::Machine::Current().registry.reset();  // to be read again
    }
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

State MachineFolder::Look() const {
    State state;
    const std::map<std::string, std::string> attributes = ReadAttributes();
    const fs::path drives = folder_ / "drives";
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(drives)) {
        std::string path;
        for (const fs::path& part : entry.path().lexically_relative(drives)) {
            path += (path.empty() ? "" : "\\") + part.string();
        }
        path.insert(1, ":");
        FileState file;
        const auto found = attributes.find(path);
        file.attributes = found == attributes.end() ? "" : found->second;
        if (entry.is_symlink()) {
            file.attributes += 'L';
        } else if (entry.is_directory()) {
            file.attributes += 'D';
        } else {
            const std::string content = ReadBytes(entry.path());
            file.size = content.size();
            file.digest = Digest(content);
        }
        state.files[path] = file;
    }
    state.keys = ReadRegistry();
    return state;
}

}  // namespace support
