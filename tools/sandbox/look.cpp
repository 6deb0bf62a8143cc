#include "tools/sandbox/look.h"

#include <fstream>
#include <sstream>
#include <stdexcept>

namespace sandbox {
namespace {

template <typename Map>
std::optional<typename Map::mapped_type> Find(const Map& map, const std::string& name) {
    const auto found = map.find(name);
    return found == map.end() ? std::nullopt : std::optional(found->second);
}

// Calls visit with every name in either map and what both have for it: first those that the
// earlier one has, then the new ones.
template <typename Map, typename Visit>
void ForEach(const Map& before, const Map& after, Visit visit) {
    for (const auto& [name, old] : before) {
        visit(name, std::optional(old), Find(after, name));
    }
    for (const auto& [name, now] : after) {
        if (!before.contains(name)) {
            visit(name, std::optional<typename Map::mapped_type>(), std::optional(now));
        }
    }
}

std::string PathBelow(const fs::path& drives, const fs::path& host) {
    std::string path;
    for (const fs::path& part : host.lexically_relative(drives)) {
        path += (path.empty() ? "" : "\\") + part.string();
        path += path.size() == 1 ? ":" : "";
    }
    return path;
}

std::string UserOf(const fs::path& folder) {
    std::istringstream lines(ReadBytes(folder / "machine.ini"));
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with("sid=")) {
            return line.substr(4, line.find('\r') - 4);
        }
    }
    return {};
}

}  // namespace

std::string FileState::Text() const {
    const std::string letters = attributes.substr(0, attributes.find_first_of("DL"));
    const std::string kind = IsFolder()        ? "folder"
                             : !target.empty() ? "link to " + target
                                               : std::to_string(size) + " bytes";
    return kind + (letters.empty() ? "" : ", ") + letters;
}

State Look(const fs::path& folder) {
    State state;
    state.user = UserOf(folder);
    const Attributes attributes = ReadAttributes(folder);
    const fs::path drives = folder / "drives";
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(drives)) {
        const std::string path = PathBelow(drives, entry.path());
        FileState file;
        file.attributes = Find(attributes, path).value_or("");
        if (entry.is_symlink()) {
            file.attributes += 'L';
            file.target = fs::read_symlink(entry.path()).string();
        } else if (entry.is_directory()) {
            file.attributes += 'D';
        } else {
            const std::string content = ReadBytes(entry.path());
            file.size = content.size();
            file.digest = Digest(content);
        }
        state.files[path] = file;
    }
    try {
        state.keys = regtext::Parse(ReadBytes(folder / "registry.reg"), state.user);
    } catch (const regtext::Damage& damage) {
        throw std::runtime_error((folder / "registry.reg").string() + ", line " +
                                 std::to_string(damage.line) + ": " + damage.what());
    }
    return state;
}

std::uint64_t Digest(std::string_view bytes) {
    std::uint64_t digest = 0xcbf29ce484222325U;
    for (const char byte : bytes) {
        digest = (digest ^ static_cast<unsigned char>(byte)) * 0x100000001b3U;
    }
    return digest;
}

std::vector<Item> Compare(const State& before, const State& after) {
    std::vector<Item> items;
    ForEach(before.files, after.files, [&](const auto& path, const auto& old, const auto& now) {
        const auto text = [](const auto& file) {
            return file ? std::optional(file->Text()) : std::nullopt;
        };
        const bool isFolder = (old ? *old : *now).IsFolder();
        items.push_back({isFolder ? Item::Kind::Folder : Item::Kind::File, path, "", text(old),
                         text(now), old == now, false});
    });
    ForEach(before.keys, after.keys, [&](const auto& key, const auto& old, const auto& now) {
        const bool both = old && now;
        const auto text = [](bool there) { return there ? std::optional("") : std::nullopt; };
        items.push_back(
            {Item::Kind::Key, key, "", text(old.has_value()), text(now.has_value()), both, false});
        ForEach(old.value_or(regtext::Values()), now.value_or(regtext::Values()),
                [&](const auto& name, const auto& was, const auto& is) {
                    items.push_back({Item::Kind::Value, key, name, was, is, was == is, !both});
                });
    });
    return items;
}

std::string ReadBytes(const fs::path& file) {
    std::ifstream in(file, std::ios::binary);
    std::ostringstream bytes;
    if (!in || (in.peek() != std::ifstream::traits_type::eof() && !(bytes << in.rdbuf()))) {
        throw std::runtime_error(file.string() + " cannot be read");
    }
    return bytes.str();
}

void WriteBytes(const fs::path& file, std::string_view bytes) {
    std::ofstream out(file, std::ios::binary | std::ios::trunc);
    if (!(out << bytes).flush()) {
        throw std::runtime_error(file.string() + " cannot be written");
    }
}

fs::path HostPath(const fs::path& folder, const std::string& path) {
    if (path.size() < 2 || path[1] != ':') {
        throw std::runtime_error("not a path of the sandbox: " + path);
    }
    fs::path host = folder / "drives" / path.substr(0, 1);
    std::istringstream parts(path.substr(2));
    for (std::string part; std::getline(parts, part, '\\');) {
        host /= part;
    }
    return host;
}

Attributes ReadAttributes(const fs::path& folder) {
    Attributes attributes;
    std::ifstream lines(folder / "attributes.txt");
    std::string letters;
    for (std::string path; lines >> letters && std::getline(lines >> std::ws, path);) {
        attributes[path] = letters;
    }
    return attributes;
}

void WriteAttributes(const fs::path& folder, const Attributes& attributes) {
    std::string text;
    for (const auto& [path, letters] : attributes) {
        if (!letters.empty()) {
            text.append(letters).append(" ").append(path).append("\n");
        }
    }
    WriteBytes(folder / "attributes.txt", text);
}

}  // namespace sandbox
