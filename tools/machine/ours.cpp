#include "tools/machine/ours.h"

#include <algorithm>
#include <stdexcept>

#include "platform/hosted/machine.h"

namespace report {
namespace {

constexpr std::string_view kAny = "<ANY>";

std::string_view Trimmed(std::string_view text) {
    const std::size_t first = text.find_first_not_of(" \t\r");
    return first == std::string_view::npos
               ? std::string_view()
               : text.substr(first, text.find_last_not_of(" \t\r") - first + 1);
}

std::string Upper(std::string_view utf8) {
    return hosted::UpperCase(hosted::FromUtf8(utf8));
}

std::vector<std::string> PartsOf(std::string_view name) {
    std::vector<std::string> parts;
    while (!name.empty()) {
        const std::size_t end = std::min(name.find('\\'), name.size());
        parts.push_back(Upper(name.substr(0, end)));
        name.remove_prefix(std::min(end + 1, name.size()));
    }
    return parts;
}

// Whether name is what the pattern names, or, with below, lies anywhere under it.
bool Matches(const std::vector<std::string>& pattern, const std::vector<std::string>& name,
             bool below) {
    return (name.size() == pattern.size() || (below && name.size() > pattern.size())) &&
           std::equal(pattern.begin(), pattern.end(), name.begin(),
                      [](const std::string& wanted, const std::string& part) {
                          return wanted == kAny || wanted == part;
                      });
}

}  // namespace

Ours::Ours(std::string_view rules) {
    unsigned number = 0;
    while (!rules.empty()) {
        const std::size_t end = std::min(rules.find('\n'), rules.size());
        const std::string_view line = Trimmed(rules.substr(0, end));
        rules.remove_prefix(std::min(end + 1, rules.size()));
        ++number;
        if (line.empty() || line.starts_with('#')) {
            continue;
        }
        std::optional<Rule> rule = RuleOf(line);
        if (!rule) {
            throw std::runtime_error("line " + std::to_string(number) +
                                     " is not a rule: " + std::string(line));
        }
        rules_.push_back(*std::move(rule));
    }
}

std::optional<Ours::Rule> Ours::RuleOf(std::string_view line) {
    const std::size_t blank = std::min(line.find(' '), line.size());
    Rule rule;
    rule.kind = line.substr(0, blank);
    std::string_view what = Trimmed(line.substr(blank));
    if (rule.kind == "value") {
        const std::size_t bar = what.find(" | ");
        if (bar == std::string_view::npos) {
            return std::nullopt;
        }
        std::string_view name = what.substr(bar + 3);
        const std::size_t arrow = name.find(" -> ");
        if (arrow != std::string_view::npos) {
            rule.data = Trimmed(name.substr(arrow + 4));
            name = name.substr(0, arrow);
        }
        name = Trimmed(name);
        rule.name = name == "@" ? "" : Upper(name);
        what = Trimmed(what.substr(0, bar));
    } else if (rule.kind != "folder" && rule.kind != "file" && rule.kind != "key" &&
               rule.kind != "alone") {
        return std::nullopt;
    }
    rule.parts = PartsOf(what);
    return rule.parts.size() > 1 ? std::optional(std::move(rule)) : std::nullopt;
}

bool Ours::HasWhole(std::string_view tree, std::string_view single, std::string_view name) const {
    const std::vector<std::string> parts = PartsOf(name);
    return std::any_of(rules_.begin(), rules_.end(), [&](const Rule& rule) {
        return (rule.kind == tree || rule.kind == single) &&
               Matches(rule.parts, parts, rule.kind == tree);
    });
}

bool Ours::HasPath(std::string_view path) const {
    return HasWhole("folder", "file", path);
}

bool Ours::HasKey(std::string_view key) const {
    return HasWhole("key", "alone", key);
}

bool Ours::HasTree(std::string_view key) const {
    return HasWhole("key", "", key);
}

const Ours::Rule* Ours::FindValue(std::string_view key, std::string_view name) const {
    const std::vector<std::string> parts = PartsOf(key);
    const std::string upper = Upper(name);
    const auto found = std::find_if(rules_.begin(), rules_.end(), [&](const Rule& rule) {
        return rule.kind == "value" && rule.name == upper && Matches(rule.parts, parts, false);
    });
    return found != rules_.end() ? &*found : nullptr;
}

bool Ours::HasValue(std::string_view key, std::string_view name) const {
    return HasKey(key) || FindValue(key, name) != nullptr;
}

bool Ours::Allows(std::string_view key, std::string_view name,
                  const std::optional<std::string>& shown) const {
    if (HasKey(key)) {
        return true;
    }
    const Rule* const rule = FindValue(key, name);
    return rule != nullptr && (!rule->data || rule->data == shown);
}

}  // namespace report
