// Any text as a path: what the path functions promise about it, and what the disk says.
#include <algorithm>
#include <array>
#include <cctype>
#include <cstdint>
#include <optional>

#include "common/modGeneral.h"
#include "common/modPath.h"
#include "common/modRuntimeError.h"
#include "platform/hosted/machine.h"
#include "tests/fuzz/support.h"

namespace {

namespace fs = std::filesystem;
using fuzz::Require;

constexpr std::size_t kAmpleLength = 240;  // below every limit of the system's functions

std::string CurrentFolder() {
    std::array<char, 1024> buffer{};
    GetCurrentDirectoryA(buffer.size(), buffer.data());
    return buffer.data();
}

std::ptrdiff_t Depth(std::string_view path) {
    const std::string full = AddBackslash(path);
    return std::count(full.begin(), full.end(), '\\');
}

std::optional<fs::path> FolderOnDisk(const std::string& path) {
    const std::optional<fs::path> host = hosted::HostPath(path);
    return host && fs::is_directory(*host) ? host : std::nullopt;
}

void CheckTexts(const std::string& path) {
    const std::string full = AddBackslash(path);
    Require(full.empty() == path.empty(), "only nothing stays nothing", path);
    Require(path.empty() || full.ends_with('\\'), "it ends in a backslash", path);
    Require(AddBackslash(full) == full, "one backslash is enough", path);

    const bool valid = IsValidPath(path);
    Require(valid == IsValidPath(full), "the backslash at the end does not matter", path);
    const std::string normal = NormalizeFolderPath(path);
    Require(normal.empty() == (path.size() < 2), "two characters have a normal form", path);
    if (!valid) {
        return;
    }
    Require(full.size() >= 3 && std::isalpha(static_cast<unsigned char>(full[0])) != 0 &&
                full.compare(1, 2, ":\\") == 0,
            "a valid path is absolute", path);
    // What is valid stays valid when the end goes or a plain name comes, and is spoilt by
    // whatever leads out of the folder or to several files.
    Require(IsValidPath(full + "x"), "a name may follow", path);
    Require(IsValidPath(full.substr(0, full.rfind('\\', full.size() - 2) + 1)) || full.size() == 3,
            "the folder above is valid", path);
    for (const char* spoiler : {"..", ".", "\\", "*", "a?", " ", ". .", "a:b", "/", "\"", "\n"}) {
        Require(!IsValidPath(full + spoiler), "this does not belong there", full + spoiler);
    }
    Require(!IsValidPath(full + '\0'), "a NUL ends no path", path);

    Require(IsValidPath(normal) && NormalizeFolderPath(normal) == normal,
            "the normal form is a path in normal form", path);
    Require(normal.ends_with('\\') == (normal.size() == 3), "only a root has a backslash", path);
    Require(EqualIgnoringCase(AddBackslash(normal), full), "it names the same", path);
}

void CheckFolder(const std::string& path, const fs::path& disk) {
    const std::string result = GetLongPath(path);
    Require(result.size() >= 2 && result[1] == ':' && result[0] >= 'A' && result[0] <= 'Z',
            "the long form is absolute", path);
    Require(Depth(result) == Depth(path) && result.find("\\\\") == std::string::npos,
            "the long form is as deep as the path", path);
    const std::optional<fs::path> place = FolderOnDisk(AddBackslash(result));
    Require(place && fs::equivalent(*place, disk), "the long form is the same folder", path);
    Require(GetLongPath(result) == result, "the long form of the long form is itself", path);
    Require(GetLongPath(AddBackslash(path)) == result, "the backslash does not matter", path);
    Require(FolderExists(NormalizeFolderPath(path)), "the normal form is a folder too", path);

    const bool empty = fs::is_empty(disk);
    Require(HasEntries(path) != empty, "it has entries if the disk has some", path);
    const auto folders = static_cast<std::size_t>(
        std::count_if(fs::directory_iterator(disk), fs::directory_iterator(),
                      [](const fs::directory_entry& entry) { return entry.is_directory(); }));
    const std::vector<Subfolder> listed = ListFolders(path);
    Require(listed.size() == folders, "every folder is listed once", path);
    for (const Subfolder& one : listed) {
        Require(Depth(one.path) == Depth(path) + 1 && one.path.starts_with(AddBackslash(path)),
                "it lies in the folder", one.path);
        Require(IsFolderLink(one.path) == one.isLink, "a link is one wherever one looks", one.path);
    }
}

void CheckDisk(const std::string& path) {
    const std::string before = CurrentFolder();
    const bool folder = FolderExists(path);
    const bool file = FileExists(path);
    const std::string result = GetLongPath(path);
    Require(CurrentFolder() == before, "the current folder stays", path);
    if (!IsValidPath(path)) {
        Require(!folder && !file, "only valid paths exist", path);
        return;
    }
    Require(result.empty() || (result[1] == ':' && Depth(result) <= Depth(path)),
            "a long form is absolute and no deeper than its path", path);
    const std::optional<fs::path> disk = FolderOnDisk(AddBackslash(path));
    Require(!folder || disk.has_value(), "an existing folder is on the disk", path);
    Require(folder || !disk || path.size() > kAmpleLength, "a folder on the disk exists", path);
    Require(!(folder && file) || path.ends_with('\\'), "a folder is no file", path);
    if (folder) {
        CheckFolder(path, *disk);
    }
}

}  // namespace

// NOLINTNEXTLINE(readability-identifier-naming): the fuzzer's name for it
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::MachineFolder();
    const std::string path(reinterpret_cast<const char*>(data), size);
    CheckTexts(path);
    CheckDisk(path);
    return 0;
}
