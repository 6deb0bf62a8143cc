// Machines of any size to measure on.
#pragma once

#include <filesystem>
#include <string>

namespace bench {

// A hosted machine in the temporary folder with the product installed, which is that of
// this process until the object goes.
class StagedMachine {
 public:
    StagedMachine();
    ~StagedMachine();
    StagedMachine(const StagedMachine&) = delete;
    StagedMachine& operator=(const StagedMachine&) = delete;

    // So many extensions, each with a type of its own whose verb starts the editor.
    void AddExtensions(std::size_t count);
    // So many keys side by side below the product's.
    void AddSettings(std::size_t count);
    // So many files in the program folder, a hundred to a folder.
    void AddFiles(std::size_t count);
    // A copy of the program in the temporary folder of the machine.
    [[nodiscard]] std::string AddProgram(const std::string& program);
    // Writes the registry and makes the machine that of this process.
    void Enter();

    [[nodiscard]] std::filesystem::path ProgramFolder() const;
    // How many extensions start Notepad, in the registry as it is on the disk.
    [[nodiscard]] std::size_t CountNotepads() const;

 private:
    std::filesystem::path folder_;
    std::string registry_;
};

}  // namespace bench
