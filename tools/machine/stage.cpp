#include "tools/machine/stage.h"

#include <fstream>
#include <sstream>
#include <stdexcept>

namespace support {
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
    const std::size_t blank = line.find(' ');
    const std::size_t start = line.find_first_not_of(' ', blank);
    if (blank == std::string::npos || start == std::string::npos) {
        throw std::runtime_error("attributes and a path are expected");
    }
    StagedFile file;
    for (const char letter : line.substr(0, blank)) {
        if (letter == 'D') {
            file.kind = StagedFile::Kind::Folder;
        } else if (letter != '-') {
            file.attributes += letter;
        }
    }
    const std::size_t bar = line.find(" | ", start);
    file.path = line.substr(start, bar == std::string::npos ? bar : bar - start);
    if (file.kind == StagedFile::Kind::Folder) {
        return file;
    }
    if (bar == std::string::npos) {
        throw std::runtime_error("a size, a content or \"program\" is expected behind \" | \"");
    }
    const std::string content = line.substr(bar + 3);
    if (content == "program") {
        file.kind = StagedFile::Kind::Program;
    } else if (content.size() >= 2 && content.front() == '"' && content.back() == '"') {
        file.content = content.substr(1, content.size() - 2);
    } else {
        file.content = Filler(file.path, std::stoul(content));
    }
    return file;
}

}  // namespace

std::vector<StagedFile> ReadStagedFiles(const std::filesystem::path& file) {
    std::istringstream lines(ReadBytes(file));
    std::vector<StagedFile> files;
    unsigned number = 0;
    for (std::string line; std::getline(lines, line);) {
        ++number;
        if (line.empty() || line.front() == '#') {
            continue;
        }
        try {
            files.push_back(ParseLine(line));
        } catch (const std::exception& error) {
            throw std::runtime_error(file.string() + ":" + std::to_string(number) + ": " +
                                     error.what());
        }
    }
    return files;
}

std::string ReadBytes(const std::filesystem::path& file) {
    std::ifstream in(file, std::ios::binary);
    std::ostringstream bytes;
    bytes << in.rdbuf();
    if (!in) {
        throw std::runtime_error(file.string() + " cannot be read");
    }
    return bytes.str();
}

void WriteBytes(const std::filesystem::path& file, std::string_view bytes) {
    std::ofstream out(file, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (!out.flush()) {
        throw std::runtime_error(file.string() + " cannot be written");
    }
}

}  // namespace support
