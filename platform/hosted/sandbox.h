// The sandbox: a folder that stands for a whole computer.
//
//   drives/C/...      the files of drive C:, names in UTF-8
//   attributes.txt    attributes and tags that the disk does not keep ("RHS C:\path" a line)
//   registry.reg      the registry, as regedit exports it (REGEDIT4, here in UTF-8)
//   machine.ini       its folders, its user, its clock and what goes wrong (Settings)
//   answers.txt       answers to the next questions, one a line, taken from the top
//   transcript.txt    what was shown and answered
//   calls.txt         the platform calls made, when machine.ini asks for it
//   log.txt           what the sandbox itself has to say
//   clipboard.txt     the clipboard's text
//
// A program that lies on a drive of the sandbox is started there and finds its sandbox by
// its own path; a program elsewhere (a test) says Sandbox::Use.
#pragma once

#include <chrono>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/hosted/settings.h"
#include "platform/hosted/text.h"
#include "platform/hosted/win32.h"

namespace hosted {

namespace fs = std::filesystem;

class Sandbox {
 public:
    // The sandbox of this process. Where there is none, or one of its files is damaged, says so
    // in one sentence on stderr (with the number of the line) and ends the process with exit
    // status 2; nothing is written then.
    static Sandbox& Current();
    // Makes folder the sandbox of this process from now on and forgets everything about
    // an earlier one. For programs that do not lie in the sandbox.
    static void Use(const fs::path& folder);
    // Forgets the sandbox of this process, for one that ends without its destructors.
    static void Leave();

    explicit Sandbox(const fs::path& folder);

    [[nodiscard]] const fs::path& Folder() const { return folder_; }
    [[nodiscard]] const Settings& GetSettings() const { return settings_; }
    // The path of the running program on this computer ("C:\...\UnInstall.exe",
    // Windows-1252), empty for a program that does not lie on one of its drives.
    [[nodiscard]] const std::string& ModulePath() const { return module_; }
    // "first" (started without arguments), "copy" (with) or "script": for [faults]. A test
    // that uses a sandbox is "test".
    [[nodiscard]] const std::string& Role() const { return role_; }
    void SetRole(std::string_view role) { role_ = role; }

    // The text of a file in the folder, empty where there is none. It must be UTF-8.
    [[nodiscard]] std::string Read(std::string_view file) const;
    // Appends one line (UTF-8, without its line feed) to a file in the folder.
    void AppendLine(std::string_view file, std::string_view line) const;
    // A damaged file: the sentence on stderr, exit status 2. Line 0 stands for the whole.
    [[noreturn]] void Damaged(std::string_view file, unsigned line, std::string_view what) const;

    // What each folder of this layer, which alone knows what is in it, remembers about the
    // sandbox: made on first use, forgotten with it.
    std::shared_ptr<struct FilesState> files;
    std::shared_ptr<struct RegistryState> registry;
    std::shared_ptr<struct UiState> ui;
    // How many calls each fault has met, and how often each call was made.
    std::vector<unsigned> faultsMet;
    std::map<std::string, unsigned> callsMade;
    // The clock: when it was started, and how many milliseconds of a virtual one have passed.
    std::chrono::steady_clock::time_point start = std::chrono::steady_clock::now();
    DWORD passed = 0;

 private:
    fs::path folder_;
    Settings settings_;
    std::string module_;
    std::string role_ = "test";  // until a program of the sandbox says what it is
};

// The state of a folder of this layer, made on first use.
template <typename State>
State& StateIn(std::shared_ptr<State>& slot) {
    if (slot == nullptr) {
        slot = std::make_shared<State>();
    }
    return *slot;
}

// ---- what the parts of this layer do for each other ---------------------------------
// The file of the running program on the disk.
fs::path OwnProgram();
// Where a path of the computer ("C:\x\y", "C:\PROGRA~1", relative ones against the
// process's current folder) lies on the disk, each component matched without regard to
// case and by short name. Nothing if a component is missing.
std::optional<fs::path> HostPath(std::string_view path);
// The path that the program knows for a place on the disk, empty if that is on no drive of the
// sandbox.
std::string ProgramPath(const fs::path& sandbox, const fs::path& host);
// Lets time pass as Sleep does, but is no call of the program: nobody counts or refuses it.
void Pass(DWORD milliseconds);
// Removes a key with all that is below it, by the full name that the program knows it by.
void RemoveKey(std::string_view fullName);

}  // namespace hosted
