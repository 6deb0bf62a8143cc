#include "platform/hosted/listing.h"

#include <dirent.h>

#include <algorithm>

#include "platform/hosted/machine.h"

namespace hosted {
namespace {

constexpr std::size_t kBaseLength = 8;
constexpr std::size_t kExtensionLength = 3;
constexpr std::size_t kGroupLength = 6;

// What a short name keeps of a character: capitals pass, a few signs become "_", blanks,
// dots, everything beyond ASCII and what the code page lacks ("?") go ("Zubehör Alt" is ZUBEHR~1).
std::string ShortForm(std::string_view capitals) {
    std::string kept;
    for (const char character : capitals) {
        const auto code = static_cast<unsigned char>(character);
        if (code >= 0x80 || character == ' ' || character == '.' || character == '?') {
            continue;
        }
        kept +=
            std::string_view("+,;=[]").find(character) != std::string_view::npos ? '_' : character;
    }
    return kept;
}

struct Parts {
    std::string_view base, extension;
};

Parts Split(std::string_view capitals) {
    const std::size_t first = capitals.find_first_not_of('.');
    const std::size_t dot = capitals.rfind('.');
    if (dot == std::string_view::npos || first == std::string_view::npos || dot < first) {
        return {capitals, {}};
    }
    return {capitals.substr(0, dot), capitals.substr(dot + 1)};
}

bool IsShort(std::string_view capitals) {
    const auto [base, extension] = Split(capitals);
    const bool dot = base.size() < capitals.size();
    return !base.empty() && base.size() <= kBaseLength && extension.size() <= kExtensionLength &&
           (!dot || !extension.empty()) && ShortForm(base) == base &&
           ShortForm(extension) == extension;
}

std::string Beginning(std::string_view capitals) {
    return ShortForm(Split(capitals).base).substr(0, kGroupLength);
}

std::string Ending(std::string_view capitals) {
    const std::string extension = ShortForm(Split(capitals).extension);
    return extension.empty() ? extension : '.' + extension.substr(0, kExtensionLength);
}

}  // namespace

Listing::Listing(const std::string& folder) {
    const std::unique_ptr<DIR, int (*)(DIR*)> stream(opendir(folder.c_str()), &closedir);
    if (stream == nullptr) {
        return;
    }
    while (const dirent* entry = readdir(stream.get())) {
        const std::string_view name = static_cast<const char*>(entry->d_name);
        if (name != "." && name != "..") {
            Add(name);
        }
    }
}

void Listing::Add(std::string_view stored) {
    std::string name = FromUtf8(stored);
    std::string capitals = UpperCase(name);
    const auto [place, added] =
        entries_.try_emplace(std::move(capitals), Entry{std::string(stored), std::move(name)});
    if (added && !groups_.empty()) {
        AddToGroup(place->first);
    }
}

void Listing::Remove(std::string_view stored) {
    const auto place = entries_.find(UpperCase(FromUtf8(stored)));
    if (place == entries_.end() || place->second.stored != stored) {
        return;
    }
    if (!groups_.empty() && !IsShort(place->first)) {
        Group& group = GroupOf(place->first);
        group.erase(std::find(group.begin(), group.end(), &place->first));
    }
    entries_.erase(place);
}

const Listing::Entry* Listing::Find(std::string_view name) {
    const std::string capitals = UpperCase(name);
    const auto place = entries_.find(capitals);
    if (place != entries_.end()) {
        return &place->second;
    }
    if (name.find('~') == std::string_view::npos) {
        return nullptr;
    }
    for (const auto& [key, entry] : entries_) {
        if (!IsShort(key) && ShortName(entry.name) == capitals) {
            return &entry;
        }
    }
    return nullptr;
}

void Listing::AddToGroup(const std::string& capitals) {
    if (IsShort(capitals)) {
        return;
    }
    Group& group = GroupOf(capitals);
    const auto less = [](const std::string* left, const std::string* right) {
        return *left < *right;
    };
    group.insert(std::lower_bound(group.begin(), group.end(), &capitals, less), &capitals);
}

Listing::Group& Listing::GroupOf(std::string_view capitals) {
    return groups_[Beginning(capitals) + Ending(capitals)];
}

std::string Listing::ShortName(std::string_view name) {
    std::string capitals = UpperCase(name);
    if (IsShort(capitals)) {
        return capitals;
    }
    if (groups_.empty()) {
        for (const auto& [key, entry] : entries_) {
            AddToGroup(key);
        }
    }
    const Group& group = GroupOf(capitals);
    const auto less = [](const std::string* left, const std::string& right) {
        return *left < right;
    };
    const auto place = std::lower_bound(group.begin(), group.end(), capitals, less);
    auto number = static_cast<std::size_t>(place - group.begin()) + 1;
    // A number whose short name is somebody's real name is left out. Steps of the group's
    // size keep the numbers apart.
    for (;; number += group.size()) {
        const std::string tail = '~' + std::to_string(number);
        std::string text = Beginning(capitals).substr(0, kBaseLength - tail.size()) + tail;
        text += Ending(capitals);
        if (group.empty() || entries_.find(text) == entries_.end()) {
            return text;
        }
    }
}

bool IsShortName(std::string_view name) {
    return IsShort(UpperCase(name));
}

bool HasWildcards(std::string_view pattern) {
    return pattern.find_first_of("*?") != std::string_view::npos;
}

bool NameMatches(std::string_view pattern, std::string_view name) {
    if (pattern == "*" || pattern == "*.*") {
        return true;  // also names without a dot
    }
    const std::string mask = UpperCase(pattern);
    const std::string text = UpperCase(name);
    constexpr std::size_t kNone = std::string::npos;
    std::size_t star = kNone;
    std::size_t resume = 0;
    std::size_t p = 0;
    std::size_t n = 0;
    while (p < mask.size() || n < text.size()) {
        const bool nothingLeft = n == text.size() || text[n] == '.';
        if (p < mask.size() && mask[p] == '*') {
            star = p++;
            resume = n;
        } else if (p < mask.size() && mask[p] == '?' && nothingLeft) {
            ++p;  // stands for no character before a dot and at the end
        } else if (p < mask.size() && n < text.size() && (mask[p] == '?' || mask[p] == text[n])) {
            ++p;
            ++n;
        } else if (star != kNone && resume < text.size()) {
            p = star + 1;
            n = ++resume;
        } else {
            return false;
        }
    }
    return true;
}

}  // namespace hosted
