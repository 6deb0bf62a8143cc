// attributes.txt: a line for each change of an item's attributes, the last one counts. It
// has the letters of those that are set (R, H, S), a blank and the path. A reparse point of
// a kind that the disk does not tell has its tag after the letters: ":9000001A C:\Wolke" is a
// folder of a cloud storage, ":A000000C C:\Link" a symbolic link where the disk's link to a folder
// would pass for a junction.
#include <array>
#include <charconv>
#include <cstdio>
#include <sstream>

#include "platform/hosted/files/files.h"

namespace hosted {
namespace {

constexpr const char* kFile = "attributes.txt";
constexpr std::array<std::pair<char, DWORD>, 3> kLetters{
    {{'R', FILE_ATTRIBUTE_READONLY}, {'H', FILE_ATTRIBUTE_HIDDEN}, {'S', FILE_ATTRIBUTE_SYSTEM}}};

// What stands before the path; false if it is nothing like that.
bool ReadWord(const std::string& word, Kept& kept) {
    const std::size_t colon = std::min(word.find(':'), word.size());
    for (const auto& [letter, bit] : kLetters) {
        kept.attributes |= word.find(letter) < colon ? bit : 0;
    }
    const char* const end = word.data() + word.size();
    const bool isTag = colon == word.size() ||
                       std::from_chars(word.data() + colon + 1, end, kept.tag, 16).ptr == end;
    return isTag && std::min(word.find_first_not_of("RHS"), word.size()) == colon;
}

std::string WordOf(const Kept& kept) {
    std::string word;
    for (const auto& [letter, bit] : kLetters) {
        word.append((kept.attributes & bit) != 0 ? 1 : 0, letter);
    }
    std::array<char, 10> tag{};
    if (kept.tag != 0) {
        static_cast<void>(std::snprintf(tag.data(), tag.size(), ":%08X", kept.tag));
    }
    return word + tag.data();
}

std::map<std::string, Kept>& Known() {
    FilesState& files = Files();
    if (!std::exchange(files.attributesRead, true)) {
        const Sandbox& sandbox = Sandbox::Current();
        std::istringstream lines(sandbox.Read(kFile));
        unsigned count = 0;
        for (std::string line; std::getline(lines, line);) {
            ++count;
            const std::size_t blank = line.find(' ');
            Kept kept;
            if (blank == std::string::npos || !ReadWord(line.substr(0, blank), kept)) {
                sandbox.Damaged(kFile, count, "not attributes (R, H, S), a blank and a path");
            }
            files.attributes[UpperCase(FromUtf8(line.substr(blank + 1)))] = kept;
        }
    }
    return files.attributes;
}

std::string PathOf(const fs::path& host) {
    return ProgramPath(Sandbox::Current().Folder(), host);
}

Kept KeptOf(const fs::path& host) {
    const auto known = Known().find(UpperCase(PathOf(host)));
    return known == Known().end() ? Kept() : known->second;
}

}  // namespace

void LoadAttributes() {
    Known();
}

DWORD KeptAttributes(const fs::path& host) {
    return KeptOf(host).attributes;
}

void KeepAttributes(const fs::path& host, DWORD attributes) {
    constexpr DWORD kKept = FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM;
    const std::string path = PathOf(host);
    // What a link leads to outside of the sandbox has none.
    if (path.empty() || KeptAttributes(host) == (attributes & kKept)) {
        return;
    }
    Kept& kept = Known()[UpperCase(path)];
    kept.attributes = attributes & kKept;
    Sandbox::Current().AppendLine(kFile, WordOf(kept) + ' ' + ToUtf8(path));
}

DWORD AttributesOf(const Place& place) {
    return KeptAttributes(place.host) |
           (place.IsFolder() ? FILE_ATTRIBUTE_DIRECTORY : FILE_ATTRIBUTE_ARCHIVE) |
           (TagOf(place) != 0 ? FILE_ATTRIBUTE_REPARSE_POINT : 0);
}

DWORD TagOf(const Place& place) {
    const DWORD kept = KeptOf(place.host).tag;
    if (kept != 0 || !place.IsLink()) {
        return kept;
    }
    return place.IsFolder() ? IO_REPARSE_TAG_MOUNT_POINT : IO_REPARSE_TAG_SYMLINK;
}

}  // namespace hosted
