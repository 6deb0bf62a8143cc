// attributes.txt: a line for each change of an item's attributes, the last one counts. It
// has the letters of those that are set (R, H, S), a blank and the path. A reparse point of
// a kind that the disk does not tell has its tag after the letters: ":9000001A C:\Wolke" is a
// folder of a cloud storage, ":A000000C C:\Link" a symbolic link where the disk's link to a folder
// would pass for a junction.
#include <array>
#include <charconv>
#include <fstream>

#include "platform/hosted/files/files.h"

namespace hosted {
namespace {

constexpr const char* kFile = "attributes.txt";
constexpr std::array<std::pair<char, DWORD>, 3> kLetters{
    {{'R', FILE_ATTRIBUTE_READONLY}, {'H', FILE_ATTRIBUTE_HIDDEN}, {'S', FILE_ATTRIBUTE_SYSTEM}}};

// False if the word is none: letters, then perhaps a colon and a tag in hexadecimal digits.
bool ReadWord(const std::string& word, Kept& kept) {
    const std::size_t colon = std::min(word.find(':'), word.size());
    for (const auto& [letter, bit] : kLetters) {
        kept.attributes |= word.find(letter) < colon ? bit : 0;
    }
    const char* const end = word.data() + word.size();
    const char* const digits = word.data() + std::min(colon + 1, word.size());
    const bool hasTag = colon < word.size();
    return word.find_first_not_of("RHS") >= colon &&
           (!hasTag || std::from_chars(digits, end, kept.tag, 16).ptr == end);
}

std::map<std::string, Kept> Read() {
    std::map<std::string, Kept> attributes;
    const fs::path file = Machine::Current().Folder() / kFile;
    std::ifstream lines(file);
    unsigned count = 0;
    for (std::string line; std::getline(lines, line);) {
        ++count;
        const std::size_t blank = line.find(' ');
        Kept kept;
        if (blank == std::string::npos || !ReadWord(line.substr(0, blank), kept)) {
            Machine::Damaged(file, count, "not attributes (R, H, S), a blank and a path");
        }
        attributes[UpperCase(FromUtf8(line.substr(blank + 1)))] = kept;
    }
    return attributes;
}

std::map<std::string, Kept>& Known() {
    auto& attributes = Files().attributes;
    if (!attributes) {
        attributes = Read();
    }
    return *attributes;
}

std::string PathOf(const fs::path& host) {
    return MachinePath(Machine::Current().Folder(), host);
}

}  // namespace

Kept KeptOf(const fs::path& host) {
    const auto known = Known().find(UpperCase(PathOf(host)));
    return known == Known().end() ? Kept() : known->second;
}

DWORD KeptAttributes(const fs::path& host) {
    return KeptOf(host).attributes;
}

void KeepAttributes(const fs::path& host, DWORD attributes) {
    const std::string path = PathOf(host);
    // What lies outside the machine, behind a link, keeps none.
    if (path.empty() || KeptAttributes(host) == (attributes & kKeptAttributes)) {
        return;
    }
    Kept& kept = Known()[UpperCase(path)];
    kept.attributes = attributes & kKeptAttributes;
    std::string line;
    for (const auto& [letter, bit] : kLetters) {
        line.append((attributes & bit) != 0 ? 1 : 0, letter);
    }
    std::array<char, 10> tag{};
    if (kept.tag != 0) {
        std::snprintf(tag.data(), tag.size(), ":%08X", kept.tag);
    }
    line += tag.data();
    Machine::Current().AppendLine(kFile, line + ' ' + ToUtf8(path));
}

DWORD AttributesOf(const Place& place) {
    return KeptAttributes(place.host) |
           (place.IsFolder() ? FILE_ATTRIBUTE_DIRECTORY : FILE_ATTRIBUTE_ARCHIVE) |
           (TagOf(place) != 0 ? FILE_ATTRIBUTE_REPARSE_POINT : 0);
}

DWORD TagOf(const Place& place) {
    const DWORD kept = KeptOf(place.host).tag;
    return kept != 0          ? kept
           : !place.IsLink()  ? 0
           : place.IsFolder() ? IO_REPARSE_TAG_MOUNT_POINT
                              : IO_REPARSE_TAG_SYMLINK;
}

}  // namespace hosted
