#include "benchmarks/staging.h"

#include <unistd.h>

#include <fstream>
#include <iterator>
#include <stdexcept>

#include "platform/hosted/sandbox.h"

namespace bench {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kProgram = "C:\\\\Programme\\\\Tessorin\\\\Tessorin.exe";

// The virtual clock takes the waiting out: what is measured is work.
constexpr std::string_view kSettings =
    "[folders]\n"
    "temp=C:\\windows\\Temp\nsystem=C:\\windows\\system32\nwindows=C:\\windows\n"
    "common-programs=C:\\Programs\n"
    "[user]\nsid=S-1-5-21-1000\n";

fs::path FreshFolder() {
    std::string name = (fs::temp_directory_path() / "uninstall-bench-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) {
        throw std::runtime_error("no temporary folder");
    }
    return name;
}

void Write(const fs::path& file, std::string_view text) {
    std::ofstream(file, std::ios::binary) << text;
}

}  // namespace

StagedMachine::StagedMachine() : folder_(FreshFolder()), registry_("REGEDIT4\n") {
    fs::create_directories(ProgramFolder());
    for (const char* folder : {"windows/Temp", "windows/system32", "Programs/Tessorin"}) {
        fs::create_directories(folder_ / "drives/C" / folder);
    }
    Write(ProgramFolder() / "Tessorin.exe", "x");
    Write(folder_ / "machine.ini", kSettings);
}

StagedMachine::~StagedMachine() {
    hosted::Sandbox::Leave();
    std::error_code ignored;  // what cannot be removed stays in the temporary folder
    fs::remove_all(folder_, ignored);
}

void StagedMachine::AddExtensions(std::size_t count) {
    const std::string classes = "\n[HKEY_LOCAL_MACHINE\\Software\\Classes\\";
    for (std::size_t i = 0; i < count; ++i) {
        const std::string number = std::to_string(i);
        registry_.append(classes).append(".x").append(number).append("]\n@=\"Type");
        registry_.append(number).append("\"\n").append(classes).append("Type").append(number);
        registry_.append("\\Shell\\open\\command]\n@=\"").append(kProgram).append(" %1\"\n");
    }
}

void StagedMachine::AddSettings(std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        registry_ += "\n[HKEY_LOCAL_MACHINE\\Software\\Verlonix\\Tessorin\\";
        registry_ += std::to_string(i) + "]\n\"Links\"=dword:0000000a\n";
    }
}

void StagedMachine::AddFiles(std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        const fs::path folder = ProgramFolder() / std::to_string(i / 100);
        fs::create_directories(folder);
        Write(folder / ("Datei " + std::to_string(i) + ".txt"), "content");
    }
}

std::string StagedMachine::AddProgram(const std::string& program) {
    const fs::path target = folder_ / "drives/C/windows/Temp/UnInstall.exe";
    fs::copy_file(program, target);
    return target.string();
}

void StagedMachine::Enter() {
    Write(folder_ / "registry.reg", registry_);
    hosted::Sandbox::Use(folder_);
}

fs::path StagedMachine::ProgramFolder() const {
    return folder_ / "drives/C/Programme/Tessorin";
}

std::size_t StagedMachine::CountNotepads() const {
    std::ifstream stream(folder_ / "registry.reg", std::ios::binary);
    std::size_t count = 0;
    for (std::string line; std::getline(stream, line);) {
        count += line == "@=\"C:\\\\windows\\\\Notepad.exe %1\"" ? 1 : 0;
    }
    return count;
}

}  // namespace bench
