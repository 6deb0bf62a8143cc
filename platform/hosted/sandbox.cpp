// The sandbox of this process: where it is and whether its files can be read.
#include "platform/hosted/sandbox.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>

#include "platform/hosted/descriptor.h"
#include "platform/hosted/registry/registry.h"
#include "platform/regtext/regtext.h"

namespace hosted {
namespace {

constexpr const char* kFiles[] = {"machine.ini", "registry.reg",   "attributes.txt",
                                  "answers.txt", "transcript.txt", "calls.txt",
                                  "log.txt",     "clipboard.txt"};

std::unique_ptr<Sandbox>& CurrentSlot() {
    static std::unique_ptr<Sandbox> sandbox;
    return sandbox;
}

// The folder above "drives/X" of a program's file. The outermost counts: a sandbox may well hold
// a folder that is itself called "drives". The interpreter lies in the sandbox's folder itself.
// Empty where there is none.
fs::path SandboxAround(const fs::path& program) {
    constexpr std::string_view kDrives = "/drives/";
    const std::string& path = program.native();
    std::size_t at = path.find(kDrives);
    while (at != std::string::npos && path.substr(at + kDrives.size() + 1, 1) != "/") {
        at = path.find(kDrives, at + 1);
    }
    if (at != std::string::npos) {
        return path.substr(0, at);
    }
    return fs::exists(program.parent_path() / "machine.ini") ? program.parent_path() : "";
}

[[noreturn]] void GiveUp(const std::string& sentence) {
    static_cast<void>(std::fprintf(stderr, "UnInstall: %s\n", sentence.c_str()));
    std::exit(2);
}

}  // namespace

fs::path OwnProgram() {
    std::error_code error;
    return fs::read_symlink("/proc/self/exe", error);
}

Sandbox& Sandbox::Current() {
    std::unique_ptr<Sandbox>& slot = CurrentSlot();
    if (slot == nullptr) {
        const fs::path folder = SandboxAround(OwnProgram());
        if (folder.empty()) {
            GiveUp("this program lies in no sandbox (a folder with \"drives/C\").");
        }
        slot = std::make_unique<Sandbox>(folder);
    }
    return *slot;
}

void Sandbox::Use(const fs::path& folder) {
    Leave();
    CurrentSlot() = std::make_unique<Sandbox>(folder);
}

void Sandbox::Leave() {
    if (CurrentSlot()) {
        SaveRegistry();
    }
    CurrentSlot().reset();
}

Sandbox::Sandbox(const fs::path& folder) {
    std::error_code error;
    folder_ = fs::canonical(folder, error);
    if (error || !fs::exists(folder_ / "machine.ini")) {
        GiveUp("\"" + folder.string() + "\" is no sandbox (a folder with a machine.ini).");
    }
    for (const char* file : kFiles) {
        const fs::file_status status = fs::symlink_status(folder_ / file, error);
        if (fs::exists(status) && !fs::is_regular_file(status)) {
            Damaged(file, 0, "a folder or a link stands in place of the file");
        }
    }
    try {
        settings_ = ReadSettings(Read("machine.ini"));
    } catch (const regtext::Damage& damage) {
        Damaged("machine.ini", damage.line, damage.what());
    }
    static_cast<void>(Read("answers.txt"));
    module_ = ProgramPath(folder_, OwnProgram());
}

std::string Sandbox::Read(std::string_view file) const {
    std::ifstream stream(folder_ / file, std::ios::binary);
    std::string text(std::istreambuf_iterator<char>(stream), {});
    if (!stream && fs::exists(folder_ / file)) {
        Damaged(file, 0, "it cannot be read");
    }
    if (const unsigned line = regtext::LineThatIsNoUtf8(text); line != 0) {
        Damaged(file, line, regtext::kNoUtf8);
    }
    return text;
}

void Sandbox::AppendLine(std::string_view file, std::string_view line) const {
    const Descriptor out(
        ::open((folder_ / file).c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0666));
    std::string text(line);
    text += '\n';
    // One write, so that the lines of several processes never mix.
    if (!out || write(out.Get(), text.data(), text.size()) < 0) {
        std::perror(std::string(file).c_str());
    }
}

void Sandbox::Damaged(std::string_view file, unsigned line, std::string_view what) const {
    const std::string place = line == 0 ? "" : ", line " + std::to_string(line);
    GiveUp((folder_ / file).string() + place + ": " + std::string(what) + ".");
}

}  // namespace hosted
