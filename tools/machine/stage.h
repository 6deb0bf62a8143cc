// The data in tests/stage: what a staged machine holds. All texts are UTF-8.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace support {

struct StagedFile {
    enum class Kind { Folder, Bytes, Program };
    Kind kind = Kind::Bytes;
    std::string attributes;  // letters R, H, S
    std::string path;
    std::string content;  // of Kind::Bytes
};

// Reads files.txt. Throws std::runtime_error with the line number for a damaged one.
std::vector<StagedFile> ReadStagedFiles(const std::filesystem::path& file);

std::string ReadBytes(const std::filesystem::path& file);
void WriteBytes(const std::filesystem::path& file, std::string_view bytes);

}  // namespace support
