// attributes.txt: a line for each change of an item's attributes, the last one counts. It
// has the letters of those that are set (R, H, S), a blank and the path.
#include <array>
#include <fstream>

#include "platform/hosted/files/files.h"

namespace hosted {
namespace {

constexpr const char* kFile = "attributes.txt";
constexpr std::array<std::pair<char, DWORD>, 3> kLetters{
    {{'R', FILE_ATTRIBUTE_READONLY}, {'H', FILE_ATTRIBUTE_HIDDEN}, {'S', FILE_ATTRIBUTE_SYSTEM}}};

std::map<std::string, DWORD> Read() {
    std::map<std::string, DWORD> attributes;
    const fs::path file = Machine::Current().Folder() / kFile;
    std::ifstream lines(file);
    unsigned count = 0;
    for (std::string line; std::getline(lines, line);) {
        ++count;
        const std::size_t blank = line.find(' ');
        if (blank == std::string::npos || line.find_first_not_of("RHS") != blank) {
            Machine::Damaged(file, count, "not attributes (R, H, S), a blank and a path");
        }
        DWORD& bits = attributes[UpperCase(FromUtf8(line.substr(blank + 1)))];
        bits = 0;
        for (const auto& [letter, bit] : kLetters) {
            bits |= line.find(letter) < blank ? bit : 0;
        }
    }
    return attributes;
}

std::map<std::string, DWORD>& Known() {
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

DWORD KeptAttributes(const fs::path& host) {
    const auto known = Known().find(UpperCase(PathOf(host)));
    return known == Known().end() ? 0 : known->second;
}

void KeepAttributes(const fs::path& host, DWORD attributes) {
    const std::string path = PathOf(host);
    // What lies outside the machine, behind a link, keeps none.
    if (path.empty() || KeptAttributes(host) == (attributes & kKeptAttributes)) {
        return;
    }
    Known()[UpperCase(path)] = attributes & kKeptAttributes;
    std::string line;
    for (const auto& [letter, bit] : kLetters) {
        line.append((attributes & bit) != 0 ? 1 : 0, letter);
    }
    Machine::Current().AppendLine(kFile, line + ' ' + ToUtf8(path));
}

DWORD AttributesOf(const Place& place) {
    return KeptAttributes(place.host) |
           (place.IsFolder() ? FILE_ATTRIBUTE_DIRECTORY : FILE_ATTRIBUTE_ARCHIVE) |
           (place.IsLink() ? FILE_ATTRIBUTE_REPARSE_POINT : 0);
}

}  // namespace hosted
