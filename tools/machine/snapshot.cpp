#include "tools/machine/snapshot.h"

#include <fstream>
#include <sstream>

#include "platform/hosted/machine.h"
#include "platform/hosted/registry/text.h"

namespace report {
namespace {

// Paths in upper case: attributes.txt need not have the letter case of the disk.
std::map<std::string, std::string> ReadAttributes(const fs::path& file) {
    std::map<std::string, std::string> attributes;
    std::istringstream lines(fs::exists(file) ? ReadFile(file) : "");
    for (std::string line; std::getline(lines, line);) {
        const std::size_t blank = line.find(' ');
        if (blank != std::string::npos) {
            attributes[hosted::UpperCase(hosted::FromUtf8(line.substr(blank + 1)))] =
                line.substr(0, blank);
        }
    }
    return attributes;
}

std::string MachinePathOf(const fs::path& below) {
    std::string path;
    for (const fs::path& part : below) {
        path += (path.empty() ? "" : "\\") + part.string();
        path += path.size() == 1 ? ":" : "";
    }
    return path;
}

Entries ReadEntries(const fs::path& folder) {
    const std::map<std::string, std::string> attributes = ReadAttributes(folder / "attributes.txt");
    const fs::path drives = folder / "drives";
    Entries entries;
    for (const fs::directory_entry& found : fs::recursive_directory_iterator(drives)) {
        const std::string path = MachinePathOf(found.path().lexically_relative(drives));
        Entry entry;
        entry.kind = found.is_symlink()     ? Entry::Kind::Link
                     : found.is_directory() ? Entry::Kind::Folder
                                            : Entry::Kind::File;
        entry.host = found.path();
        const auto letters = attributes.find(hosted::UpperCase(hosted::FromUtf8(path)));
        if (letters != attributes.end()) {
            entry.attributes = letters->second;
        }
        entries.emplace(path, std::move(entry));
    }
    return entries;
}

Value ValueOf(const std::string& written) {
    const regtext::TypedValue value = regtext::ParseValue(written);
    Value result{written, written};
    if (written.starts_with('"')) {
        result.shown = "\"" + value.data.substr(0, value.data.size() - 1) + "\"";
    } else if (written.starts_with("dword:")) {
        result.shown = std::to_string(std::stoul(written.substr(6), nullptr, 16));
    }
    return result;
}

Keys ReadKeys(const fs::path& folder, const std::string& user) {
    Keys keys;
    try {
        for (const auto& [key, values] : regtext::Parse(ReadFile(folder / "registry.reg"), user)) {
            for (const auto& [name, value] : values) {
                keys[key][name] = ValueOf(value);
            }
            keys[key];
        }
    } catch (const regtext::Damage& damage) {
        throw std::runtime_error((folder / "registry.reg").string() + ", line " +
                                 std::to_string(damage.line) + ": " + damage.what());
    }
    return keys;
}

}  // namespace

std::string ReadFile(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    if (!stream) {
        throw std::runtime_error(file.string() + " cannot be read");
    }
    return {std::istreambuf_iterator<char>(stream), {}};
}

Snapshot ReadMachine(const fs::path& folder) {
    try {
        const std::string user =
            hosted::ToUtf8(hosted::ReadSettings(ReadFile(folder / "machine.ini")).user);
        return {ReadEntries(folder), ReadKeys(folder, user), user};
    } catch (const hosted::Damage& damage) {
        throw std::runtime_error((folder / "machine.ini").string() + ", line " +
                                 std::to_string(damage.line) + ": " + damage.what);
    }
}

bool SameEntry(const Entry& left, const Entry& right) {
    if (left.kind != right.kind || left.attributes != right.attributes) {
        return false;
    }
    switch (left.kind) {
        case Entry::Kind::Folder:
            return true;
        case Entry::Kind::Link:
            return fs::read_symlink(left.host) == fs::read_symlink(right.host);
        case Entry::Kind::File:
            break;
    }
    return fs::file_size(left.host) == fs::file_size(right.host) &&
           ReadFile(left.host) == ReadFile(right.host);
}

}  // namespace report
