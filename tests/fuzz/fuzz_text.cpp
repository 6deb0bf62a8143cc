// Any text as a path, as a number and as a command line: what the functions promise about it, and
// what the disk says.
#include <algorithm>
#include <cctype>
#include <cmath>
#include <optional>

#include "common/modGeneral.h"
#include "common/modPath.h"
#include "common/modText.h"
#include "main/modMain.h"
#include "tests/fuzz/support.h"

namespace {

namespace fs = std::filesystem;
using fuzz::Require;

constexpr std::size_t kAmpleLength = 240;  // below every limit of the system's functions

std::ptrdiff_t Depth(const std::string& path) {
    const std::string full = AddBackslash(path);
    return std::count(full.begin(), full.end(), '\\');
}

void CheckPath(const std::string& path) {
    const std::string full = AddBackslash(path);
    Require(path.empty() ? full.empty() : full.ends_with('\\'), "it ends in a backslash");
    Require(AddBackslash(full) == full, "one backslash is enough");
    Require(IsValidPath(path) == IsValidPath(full), "a backslash at the end does not matter");
    const std::string normal = NormalizeFolderPath(path);
    Require(normal.empty() == (path.size() < 2), "two characters have a normal form");
    if (!IsValidPath(path)) {
        Require(!FolderExists(path) && !FileExists(path), "only valid paths exist");
        return;
    }
    Require(full.size() >= 3 && std::isalpha(static_cast<unsigned char>(full[0])) != 0 &&
                full.compare(1, 2, ":\\") == 0,
            "a valid path is absolute");
    Require(IsValidPath(full + "x"), "a name may follow");
    for (const char* spoiler : {"..", ".", "\\", "*", "a?", " ", ". .", "a:b", "/", "\"", "\n"}) {
        Require(!IsValidPath(full + spoiler), "nothing that leads elsewhere may");
    }
    Require(IsValidPath(normal) && NormalizeFolderPath(normal) == normal &&
                EqualIgnoringCase(AddBackslash(normal), full),
            "the normal form is a normal form of the same");
    Require(normal.ends_with('\\') == (normal.size() == 3), "only a root has a backslash");
}

void CheckFolder(const std::string& path, const fs::path& disk) {
    const std::string result = GetLongPath(path);
    const std::string full = AddBackslash(result);
    const std::optional<fs::path> place = hosted::HostPath(full);
    Require(place && fs::equivalent(*place, disk), "the long form is the same folder");
    Require(Depth(result) == Depth(path), "and as deep as the path");
    Require(GetLongPath(result) == result, "and its own long form");
    Require(FolderExists(NormalizeFolderPath(path)), "the normal form is a folder too");
    Require(HasEntries(full).value != fs::is_empty(disk), "it has entries if the disk has some");
    std::vector<std::string> folders;
    std::vector<std::string> links;
    Require(!ListFolders(full, folders, links), "it can be listed");
    const auto count =
        std::count_if(fs::directory_iterator(disk), fs::directory_iterator(),
                      [](const fs::directory_entry& entry) { return entry.is_directory(); });
    Require(folders.size() + links.size() == static_cast<std::size_t>(count), "each folder once");
    for (const std::string& link : links) {
        Require(IsFolderLink(link).value, "a link is one wherever one looks");
    }
}

// Dots and blanks at the end of a path, which the system passes over, are not in its long form.
void CheckDisk(const std::string& path) {
    const bool folder = FolderExists(path);
    const std::optional<fs::path> disk =
        IsValidPath(path) ? hosted::HostPath(path.size() == 2 ? path + "\\" : path) : std::nullopt;
    const bool there = disk && fs::is_directory(*disk);
    Require(!folder || there, "an existing folder is on the disk");
    Require(folder || !there || path.size() > kAmpleLength, "a folder on the disk exists");
    Require(!folder || !FileExists(path) || path.ends_with('\\'), "a folder is no file");
    if (folder) {
        CheckFolder(path, *disk);
    }
    std::string current(MAX_PATH, '\0');
    current.resize(GetCurrentDirectoryA(MAX_PATH, current.data()));
    Require(current == "C:\\windows\\Temp", "the current folder stays");
}

// Short numbers are judged by a double, which holds them without doubt about their half.
void CheckNumber(std::string text) {
    const std::optional<std::int32_t> number = RoundedNumber(text);
    Require(RoundedNumber(" " + text + "  ") == number, "blanks around it do not matter");
    std::replace(text.begin(), text.end(), ',', '.');
    text = Trimmed(text);
    char* end = nullptr;
    const double judged = std::nearbyint(std::strtod(text.c_str(), &end));
    const bool plain = text.find_first_not_of("+-.0123456789") == std::string::npos &&
                       text.size() <= 15 && end != text.c_str() && end == &text[text.size()];
    Require(!plain || number.has_value() == (std::abs(judged + 0.5) < 2147483648.0), "it has one");
    Require(!plain || !number || *number == static_cast<std::int32_t>(judged), "rounded");
    Require(!number || RoundedNumber(std::to_string(*number)) == number, "a whole number stays");
}

void CheckCommandLine(const std::string& line) {
    const std::string_view arguments = CommandArguments(line);
    Require(std::string_view(line).ends_with(arguments), "arguments stand at the end");
    Require(arguments.find_first_not_of(" \t") == 0 || arguments.empty(), "without blanks before");
    const std::string quoted = "\"C:\\Ein Ordner\\UnInstall.exe\" " + line;
    const std::size_t first = std::min(line.find_first_not_of(" \t"), line.size());
    Require(CommandArguments(quoted) == line.substr(first), "they arrive unchanged");
}

}  // namespace

// NOLINTNEXTLINE(readability-identifier-naming): the fuzzer's name for it
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const int machine = fuzz::EnterMachine();
    SetCurrentDirectoryA("C:\\windows\\Temp");
    const std::string text(reinterpret_cast<const char*>(data), size);
    CheckPath(text);
    CheckDisk(text);
    CheckNumber(text);
    CheckCommandLine(text);
    return machine;
}
