// Sandboxes made from the data in tests/stage. All texts are UTF-8.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace sandbox {

// Names in the staged sandbox.
inline const std::string kProgramFolder = "C:\\Programme\\Büro Tessorin";
inline const std::string kTempFolder = "C:\\windows\\Temp";
inline const std::string kGroupFolder =
    "C:\\Dokumente und Einstellungen\\All Users\\Startmenü\\Programme\\Tessorin";
inline const std::string kOwnFile = kProgramFolder + "\\UnInstall.exe";
inline const std::string kEditor = kProgramFolder + "\\Tessorin.exe";
// What the first run makes.
inline const std::string kScript = kTempFolder + "\\UnInstall.bat";
inline const std::string kCopy = kTempFolder + "\\UnInstall.exe";
inline const std::string kRecord = kTempFolder + "\\UnInstall.pif";
inline const std::string kHklm = "HKEY_LOCAL_MACHINE\\";
inline const std::string kUser = "HKEY_USERS\\S-1-5-21-1454471165-823518204-1801674531-1000\\";
inline const std::string kClasses = kHklm + "Software\\Classes\\";
inline const std::string kSharedDlls =
    kHklm + "Software\\Microsoft\\Windows\\CurrentVersion\\SharedDLLs";
inline const std::string kMakerKey = "Software\\Verlonix";
// The argument text of the relaunched copy.
inline std::string CopyArguments() {
    return "/u=" + kProgramFolder;
}

struct StagedFile {
    enum class Kind { Folder, Bytes, Program };
    Kind kind = Kind::Bytes;
    std::string attributes;  // letters R, H, S
    std::string path;
    std::string content;  // of Kind::Bytes
};

// Reads files.txt. Throws std::runtime_error for a line that is none.
std::vector<StagedFile> ReadStagedFiles(const std::filesystem::path& file);

// Makes the folder or the file at that place, but for its attributes; program is the uninstaller
// that was built.
void Put(const StagedFile& file, const std::filesystem::path& place,
         const std::filesystem::path& program);

// Fills the folder, which must be new or empty, from the data in stage.
void Stage(const std::filesystem::path& folder, const std::filesystem::path& stage,
           const std::filesystem::path& program);

}  // namespace sandbox
