// A machine folder as the hosted platform defines it, staged and changed from outside.
#pragma once

#include <filesystem>
#include <string>

#include "tests/support/state.h"

namespace support {

namespace fs = std::filesystem;

class MachineFolder {
 public:
    explicit MachineFolder(fs::path folder);

    // Fills the folder, which must be new or empty, from the data in stage; program is
    // the uninstaller that was built.
    void Stage(const fs::path& stage, const fs::path& program) const;

    [[nodiscard]] const fs::path& Folder() const { return folder_; }
    // Where a path of the machine lies, letter case as stored.
    [[nodiscard]] fs::path Host(const std::string& path) const;

    void SetAttributes(const std::string& path, const std::string& letters) const;
    [[nodiscard]] Keys ReadRegistry() const;
    void WriteRegistry(const Keys& keys) const;
    // Takes the line with that left side out of a section of machine.ini and puts line, if
    // it is not empty, in its place.
    void ChangeSetting(const std::string& section, const std::string& left,
                       const std::string& line) const;
    // Makes this the machine of the process, or no longer: what it changes in the registry is
    // seen here, and the other way round.
    void Enter() const;
    void Leave() const;
    // Every file of every drive and every registry key.
    [[nodiscard]] State Look() const;

 private:
    [[nodiscard]] std::map<std::string, std::string> ReadAttributes() const;

    fs::path folder_;
};

}  // namespace support
