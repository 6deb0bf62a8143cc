#include "tests/support/state.h"

#include <algorithm>

namespace support {
namespace {

std::string ShortKey(std::string key) {
    for (const auto& [name, brief] :
         {std::pair("HKEY_LOCAL_MACHINE", "HKLM"), {"HKEY_USERS", "HKU"}}) {
        if (key.starts_with(name)) {
            key.replace(0, std::string_view(name).size(), brief);
        }
    }
    return key;
}

std::string NameOf(const machine::Item& item) {
    switch (item.kind) {
        case machine::Item::Kind::File:
            return "file " + item.place;
        case machine::Item::Kind::Folder:
            return "folder " + item.place;
        case machine::Item::Kind::Key:
            return "key " + ShortKey(item.place);
        case machine::Item::Kind::Value:
            break;
    }
    return "value " + ShortKey(item.place) + "\\" + (item.name.empty() ? "@" : item.name);
}

}  // namespace

std::vector<std::string> Difference(const State& before, const State& after) {
    std::vector<std::string> lines;
    std::string gone;  // the last folder or key that is gone; what is below it comes behind it
    for (const machine::Item& item : machine::Compare(before, after)) {
        const bool isValue = item.kind == machine::Item::Kind::Value;
        if (item.same || (!gone.empty() && (item.place + '\\').starts_with(gone))) {
            continue;
        }
        std::string line = (!item.after ? "- " : item.before ? "~ " : "+ ") + NameOf(item);
        if (item.before && item.after) {
            line += ": " + *item.before + " -> " + *item.after;
        } else if (isValue && item.after) {
            line += ": " + *item.after;
        } else if (!isValue && !item.after) {
            gone = item.place + '\\';
        }
        lines.push_back(line);
    }
    return lines;
}

std::string Mismatch(const std::vector<std::string>& expected,
                     const std::vector<std::string>& actual) {
    if (expected == actual) {
        return {};
    }
    std::string text;
    for (const std::string& line : expected) {
        if (std::find(actual.begin(), actual.end(), line) == actual.end()) {
            text += "\n  missing:    " + line;
        }
    }
    for (const std::string& line : actual) {
        if (std::find(expected.begin(), expected.end(), line) == expected.end()) {
            text += "\n  unexpected: " + line;
        }
    }
    if (text.empty()) {
        text = "\n  the same lines, but in another order or number:";
        for (const std::string& line : actual) {
            text += "\n    " + line;
        }
    }
    return text;
}

}  // namespace support
