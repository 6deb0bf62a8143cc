#include "tools/sandbox/look.h"

#include <fstream>
#include <sstream>
#include <stdexcept>

namespace sandbox {
namespace {

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
        if (const auto known = attributes.find(path); known != attributes.end()) {
            file.attributes = known->second;
        }
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
