#include "tools/sandbox/ours.h"

#include <algorithm>
#include <array>
#include <sstream>
#include <stdexcept>

#include "platform/hosted/registry/text.h"

namespace sandbox {
namespace {

bool Alike(std::string_view one, std::string_view other) {
    return !regtext::ByName()(one, other) && !regtext::ByName()(other, one);
}

std::string_view TakePart(std::string_view& name) {
    const std::string_view part = name.substr(0, name.find('\\'));
    name.remove_prefix(std::min(part.size() + 1, name.size()));
    return part;
}

// Whether name is what the pattern names, or, with below, lies anywhere under it.
bool Matches(std::string_view pattern, std::string_view name, bool below) {
    while (!pattern.empty() && !name.empty()) {
        const std::string_view wanted = TakePart(pattern);
        const std::string_view part = TakePart(name);
        if (wanted != "<any>" && !Alike(wanted, part)) {
            return false;
        }
    }
    return pattern.empty() && (below || name.empty());
}

// Cuts the text at the mark and gives what stood behind it, if it is there.
std::optional<std::string> CutAt(std::string& text, std::string_view mark) {
    const std::size_t place = text.find(mark);
    if (place == std::string::npos) {
        return std::nullopt;
    }
    std::string rest = text.substr(place + mark.size());
    text.erase(place);
    return rest;
}

}  // namespace

Ours::Ours(const std::string& rules) {
    constexpr std::array<std::string_view, 5> kKinds{"folder", "file", "key", "alone", "value"};
    std::istringstream lines(rules);
    unsigned number = 0;
    for (std::string line; std::getline(lines, line);) {
        ++number;
        if (line.empty() || line.front() == '#') {
            continue;
        }
        Rule rule;
        std::istringstream words(line);
        words >> rule.kind >> std::ws;
        std::getline(words, rule.place);
        rule.data = CutAt(rule.place, " -> ");
        const std::optional<std::string> name = CutAt(rule.place, " | ");
        rule.name = name == "@" ? "" : name.value_or("");
        if (std::find(kKinds.begin(), kKinds.end(), rule.kind) == kKinds.end() ||
            rule.place.empty() || name.has_value() != (rule.kind == "value")) {
            throw std::runtime_error("line " + std::to_string(number) + " is not a rule: " + line);
        }
        rules_.push_back(rule);
    }
}

const Ours::Rule* Ours::Find(std::string_view kind, std::string_view place, bool below,
                             std::string_view name) const {
    const auto found = std::find_if(rules_.begin(), rules_.end(), [&](const Rule& rule) {
        return rule.kind == kind && Alike(rule.name, name) && Matches(rule.place, place, below);
    });
    return found != rules_.end() ? &*found : nullptr;
}

bool Ours::HasPath(std::string_view path) const {
    return Find("folder", path, true) != nullptr || Find("file", path, false) != nullptr;
}

bool Ours::HasTree(std::string_view key) const {
    return Find("key", key, true) != nullptr;
}

bool Ours::HasKey(std::string_view key) const {
    return HasTree(key) || Find("alone", key, false) != nullptr;
}

bool Ours::HasValue(std::string_view key, std::string_view name) const {
    return HasKey(key) || Find("value", key, false, name) != nullptr;
}

bool Ours::Allows(std::string_view key, std::string_view name,
                  const std::optional<std::string>& data) const {
    const Rule* const rule = Find("value", key, false, name);
    return HasKey(key) || (rule != nullptr && (!rule->data || rule->data == data));
}

}  // namespace sandbox
