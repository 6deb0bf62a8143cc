#include "tools/sandbox/stage.h"

#include <algorithm>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "tools/sandbox/look.h"

namespace sandbox {
namespace {

// Content of that size, another one for each path.
std::string Filler(const std::string& path, std::size_t size) {
    std::string content;
    content.reserve(size + path.size());
    while (content.size() < size) {
        content += path;
    }
    content.resize(size);
    return content;
}

StagedFile ParseLine(const std::string& line) {
    StagedFile file;
    std::istringstream words(line);
    words >> file.attributes >> std::ws;
    std::getline(words, file.path);
    const std::size_t bar = std::min(file.path.find(" | "), file.path.size());
    const std::string content = file.path.substr(std::min(bar + 3, file.path.size()));
    file.path.erase(bar);
    if (file.attributes.find('D') != std::string::npos) {
        file.kind = StagedFile::Kind::Folder;
    } else if (content == "program") {
        file.kind = StagedFile::Kind::Program;
    } else if (content.size() > 1 && content.front() == '"' && content.back() == '"') {
        file.content = content.substr(1, content.size() - 2);
    } else if (!content.empty() && content.find_first_not_of("0123456789") == std::string::npos) {
        file.content = Filler(file.path, std::stoul(content));
    } else {
        throw std::runtime_error("neither a folder nor a file with what is in it: " + line);
    }
    std::erase_if(file.attributes, [](char letter) { return letter == 'D' || letter == '-'; });
    return file;
}

}  // namespace

std::vector<StagedFile> ReadStagedFiles(const std::filesystem::path& file) {
    std::ifstream lines(file);
    std::vector<StagedFile> files;
    for (std::string line; std::getline(lines, line);) {
        if (!line.empty() && line.front() != '#') {
            files.push_back(ParseLine(line));
        }
    }
    return files;
}

void Put(const StagedFile& file, const fs::path& place, const fs::path& program) {
    fs::create_directories(file.kind == StagedFile::Kind::Folder ? place : place.parent_path());
    if (file.kind == StagedFile::Kind::Program) {
        fs::copy_file(program, place, fs::copy_options::overwrite_existing);
    } else if (file.kind == StagedFile::Kind::Bytes) {
        WriteBytes(place, file.content);
    }
}

void Stage(const fs::path& folder, const fs::path& stage, const fs::path& program) {
    fs::create_directories(folder / "drives" / "C");
    fs::copy_file(stage / "machine.ini", folder / "machine.ini");
    fs::copy_file(stage / "registry.reg", folder / "registry.reg");
    Attributes attributes;
    for (const StagedFile& file : ReadStagedFiles(stage / "files.txt")) {
        Put(file, HostPath(folder, file.path), program);
        attributes[file.path] = file.attributes;
    }
    WriteAttributes(folder, attributes);
}

}  // namespace sandbox
