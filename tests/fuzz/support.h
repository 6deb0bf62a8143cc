// What the fuzzers share: rules that must hold, and the staged machine with a few more folders.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <string>

#include "platform/hosted/sandbox.h"
#include "tools/sandbox/stage.h"

namespace fuzz {

// Ends the process when a rule is broken, which the fuzzer keeps as a finding.
inline void Require(bool holds, const char* rule) {
    if (!holds) {
        std::cerr << "broken rule: " << rule << "\n";
        std::abort();
    }
}

// Makes a machine in the temporary folder, which tests/fuzz/run removes, that of the process.
inline int EnterMachine() {
    namespace fs = std::filesystem;
    std::string folder = (fs::temp_directory_path() / "uninstall-fuzz-XXXXXX").string();
    Require(mkdtemp(folder.data()) != nullptr, "there is a temporary folder");
    sandbox::Stage(folder, TESTS_STAGE, TESTS_STAGE "/machine.ini");
    const fs::path drive = fs::path(folder) / "drives/C";
    for (const char* name : {"a/b/c/d", " führend", "Programme/100%", "Programme/A&B/Leer",
                             "Programme/A/Leer", "Programme/AÇ"}) {
        fs::create_directories(drive / name);
    }
    fs::create_directory_symlink(drive / "Programme", drive / "Verweis");
    hosted::Sandbox::Use(folder);
    return 0;
}

}  // namespace fuzz
