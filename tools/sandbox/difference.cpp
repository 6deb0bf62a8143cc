#include "tools/sandbox/difference.h"

#include <sstream>

namespace sandbox {
namespace {

using Kind = Item::Kind;

template <typename Map>
std::optional<typename Map::mapped_type> Find(const Map& map, const std::string& name) {
    const auto found = map.find(name);
    return found == map.end() ? std::nullopt : std::optional(found->second);
}

// Calls visit with every name in either map and what both have for it: first those that the
// earlier one has, then the new ones.
template <typename Map, typename Visit>
void ForEach(const Map& before, const Map& after, Visit visit) {
    for (const auto& [name, old] : before) {
        visit(name, std::optional(old), Find(after, name));
    }
    for (const auto& [name, now] : after) {
        if (!before.contains(name)) {
            visit(name, std::optional<typename Map::mapped_type>(), std::optional(now));
        }
    }
}

std::string NameOf(Kind kind, const std::string& place, const std::string& name) {
    if (kind == Kind::File || kind == Kind::Folder) {
        return (kind == Kind::File ? "file " : "folder ") + place;
    }
    const bool isUsers = place.starts_with("HKEY_USERS");
    const std::string root = isUsers ? "HKEY_USERS" : "HKEY_LOCAL_MACHINE";
    const std::string key = (isUsers ? "HKU" : "HKLM") + place.substr(root.size());
    return kind == Kind::Key ? "key " + key : "value " + key + "\\" + (name.empty() ? "@" : name);
}

}  // namespace

std::string Item::Line() const {
    std::string line = (!after ? "- " : before ? "~ " : "+ ") + NameOf(kind, place, name);
    if (before && after) {
        line += ": " + *before + " -> " + *after;
    } else if (kind == Kind::Value && after) {
        line += ": " + *after;
    }
    return line;
}

std::vector<Item> Compare(const State& before, const State& after) {
    std::vector<Item> items;
    ForEach(before.files, after.files, [&](const auto& path, const auto& old, const auto& now) {
        const auto text = [](const auto& file) {
            return file ? std::optional(file->Text()) : std::nullopt;
        };
        const bool isFolder = (old ? *old : *now).IsFolder();
        items.push_back({isFolder ? Kind::Folder : Kind::File, path, "", text(old), text(now),
                         old == now, false});
    });
    ForEach(before.keys, after.keys, [&](const auto& key, const auto& old, const auto& now) {
        const bool both = old && now;
        const auto text = [](bool there) { return there ? std::optional("") : std::nullopt; };
        items.push_back(
            {Kind::Key, key, "", text(old.has_value()), text(now.has_value()), both, false});
        ForEach(old.value_or(regtext::Values()), now.value_or(regtext::Values()),
                [&](const auto& name, const auto& was, const auto& is) {
                    items.push_back({Kind::Value, key, name, was, is, was == is, !both});
                });
    });
    return items;
}

std::vector<std::string> Difference(const State& before, const State& after) {
    std::vector<std::string> lines;
    std::string gone;  // the last folder or key that is gone; what is below it comes after it
    for (const Item& item : Compare(before, after)) {
        if (item.same || (!gone.empty() && (item.place + '\\').starts_with(gone))) {
            continue;
        }
        if (item.kind != Kind::Value && !item.after) {
            gone = item.place + '\\';
        }
        lines.push_back(item.Line());
    }
    return lines;
}

Ours::Ours(const std::string& list) {
    std::istringstream lines(list);
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with("- ") || line.starts_with("~ ")) {
            lines_[line.substr(2, line.find(": ") - 2)] = line;
        }
    }
}

bool Ours::Has(const Item& item) const {
    if (HasTreeOf(item)) {
        return true;
    }
    const auto line = lines_.find(NameOf(item.kind, item.place, item.name));
    if (item.kind != Kind::Value) {
        return line != lines_.end();
    }
    const bool isOfOwnKey = lines_.contains(NameOf(Kind::Key, item.place, ""));
    return isOfOwnKey ||
           (line != lines_.end() && !item.withKey && (item.same || line->second == item.Line()));
}

bool Ours::HasTreeOf(const Item& item) const {
    const Kind above = item.IsEntry() ? Kind::Folder : Kind::Key;
    for (std::size_t end = item.place.size(); end != std::string::npos && end > 0;
         end = item.place.rfind('\\', end - 1)) {
        const auto line = lines_.find(NameOf(above, item.place.substr(0, end), ""));
        if (line != lines_.end()) {
            const auto next = std::next(line);  // what is below is right after it
            return next == lines_.end() || !next->first.starts_with(line->first + '\\');
        }
    }
    return false;
}

}  // namespace sandbox
