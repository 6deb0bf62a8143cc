// A machine folder as the hosted platform defines it, changed from outside.
#pragma once

#include <string>

#include "tests/support/state.h"

namespace support {

namespace fs = std::filesystem;

class MachineFolder {
 public:
    explicit MachineFolder(fs::path folder) : folder_(std::move(folder)) {}

    void Stage(const fs::path& stage, const fs::path& program) const {
        machine::Stage(folder_, stage, program);
    }
    [[nodiscard]] const fs::path& Folder() const { return folder_; }
    // Where a path of the machine lies, letter case as stored.
    [[nodiscard]] fs::path Host(const std::string& path) const {
        return machine::HostPath(folder_, path);
    }

    void SetAttributes(const std::string& path, const std::string& letters) const;
    [[nodiscard]] Keys ReadRegistry() const { return Look().keys; }
    void WriteRegistry(const Keys& keys) const;
    // Takes the line with that left side out of a section of machine.ini and puts line, if
    // it is not empty, in its place.
    void ChangeSetting(const std::string& section, const std::string& left,
                       const std::string& line) const;
    // Makes this the machine of the process, or no longer: what it changes in the registry is
    // seen here, and the other way round.
    void Enter() const;
    void Leave() const;
    [[nodiscard]] State Look() const;

 private:
    fs::path folder_;
};

}  // namespace support
