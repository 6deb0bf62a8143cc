// What a folder on the disk holds, as the program sees it: names without regard to case,
// each with its short name.
#include <algorithm>
#include <tuple>
#include <unordered_map>
#include <unordered_set>

#include "platform/hosted/files/files.h"

namespace hosted {
namespace {

constexpr std::size_t kBaseLength = 8;
constexpr std::size_t kExtensionLength = 3;
constexpr std::size_t kGroupLength = 6;

// What a short name keeps of a character: capitals pass, a few signs become "_", blanks,
// dots and everything beyond ASCII go ("Zubehör Alt" is ZUBEHR~1); "?" is such a one too.
std::string ShortForm(std::string_view capitals) {
    std::string kept;
    for (const char character : capitals) {
        if (std::string_view("+,;=[]").find(character) != std::string_view::npos) {
            kept += '_';
        } else if (static_cast<unsigned char>(character) < 0x80 && character != ' ' &&
                   character != '.' && character != '?') {
            kept += character;
        }
    }
    return kept;
}

struct Parts {
    std::string base, extension;  // as far as a short name has them, the latter with its dot
    bool isShort;                 // together they are a short name already
};

Parts Split(const fs::path& capitals) {
    const std::string base = capitals.stem();
    const std::string extension = capitals.extension();
    const std::string kept = ShortForm(extension);
    Parts parts{ShortForm(base), kept.empty() ? "" : ".", false};
    parts.extension.append(kept, 0, kExtensionLength);
    parts.isShort =
        parts.base == base && base.size() <= kBaseLength && parts.extension == extension;
    return parts;
}

// Names that share the beginning of their short names are numbered in their order. A number
// whose short name is somebody's already is left out.
void GiveAlternates(std::vector<Entry>& entries) {
    std::unordered_set<std::string> taken;
    for (const Entry& entry : entries) {
        taken.insert(entry.capitals);
    }
    std::unordered_map<std::string, unsigned> numbers;
    for (Entry& entry : entries) {
        const Parts parts = Split(entry.capitals);
        if (parts.isShort) {
            continue;
        }
        const std::string beginning = parts.base.substr(0, kGroupLength);
        unsigned& number = numbers[beginning + parts.extension];
        do {
            const std::string tail = '~' + std::to_string(++number);
            entry.alternate =
                beginning.substr(0, kBaseLength - tail.size()) + tail + parts.extension;
        } while (!taken.insert(entry.alternate).second);
    }
}

}  // namespace

std::vector<Entry> List(const fs::path& folder) {
    std::vector<Entry> entries;
    std::error_code error;  // what cannot be read is empty
    for (const fs::directory_entry& found : fs::directory_iterator(folder, error)) {
        Entry entry;
        entry.stored = found.path().filename();
        entry.name = FromUtf8(entry.stored);
        entry.capitals = UpperCase(entry.name);
        entries.push_back(std::move(entry));
    }
    std::sort(entries.begin(), entries.end(), [](const Entry& left, const Entry& right) {
        return std::tie(left.capitals, left.stored) < std::tie(right.capitals, right.stored);
    });
    GiveAlternates(entries);
    return entries;
}

fs::path Find(const fs::path& folder, std::string_view name) {
    fs::path exact = folder / ToUtf8(name);
    std::error_code error;
    if (fs::exists(fs::symlink_status(exact, error))) {
        return exact;
    }
    const std::string capitals = UpperCase(name);
    for (const Entry& entry : List(folder)) {
        if (entry.capitals == capitals || entry.alternate == capitals) {
            return folder / entry.stored;
        }
    }
    return exact;
}

}  // namespace hosted
