// Machines made from the data in tests/stage. All texts are UTF-8.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace machine {

struct StagedFile {
    enum class Kind { Folder, Bytes, Program };
    Kind kind = Kind::Bytes;
    std::string attributes;  // letters R, H, S
    std::string path;
    std::string content;  // of Kind::Bytes
};

// Reads files.txt. Throws std::runtime_error for a line that is none.
std::vector<StagedFile> ReadStagedFiles(const std::filesystem::path& file);

// Fills the folder, which must be new or empty, from the data in stage; program is the
// uninstaller that was built.
void Stage(const std::filesystem::path& folder, const std::filesystem::path& stage,
           const std::filesystem::path& program);

}  // namespace machine
