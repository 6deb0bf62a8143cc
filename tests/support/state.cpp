#include "tests/support/state.h"

#include <algorithm>
#include <array>

namespace support {
namespace {

constexpr std::array<std::pair<std::string_view, std::string_view>, 3> kRoots{{
    {"HKEY_LOCAL_MACHINE", "HKLM"},
    {"HKEY_USERS", "HKU"},
    {"HKEY_CLASSES_ROOT", "HKCR"},
}};

std::string ShortKey(const std::string& key) {
    for (const auto& [name, brief] : kRoots) {
        if (key.starts_with(name)) {
            return std::string(brief) + key.substr(name.size());
        }
    }
    return key;
}

std::string Describe(const FileState& file) {
    std::string text = file.attributes;
    if (text.find_first_of("DL") == std::string::npos) {
        text += (text.empty() ? "" : " ") + std::to_string(file.size) + " bytes";
    }
    return text;
}

std::string ValueName(const std::string& key, const std::string& name) {
    return "value " + ShortKey(key) + "\\" + (name.empty() ? "@" : name);
}

// Whether something that name lies below is in the list of removed things.
bool BelowRemoved(const std::vector<std::string>& removed, const std::string& name) {
    return std::any_of(removed.begin(), removed.end(), [&](const std::string& parent) {
        return name.size() > parent.size() && name.starts_with(parent) &&
               name[parent.size()] == '\\';
    });
}

void CompareFiles(const State& before, const State& after, std::vector<std::string>& lines) {
    const auto kind = [](const FileState& file) {
        return file.attributes.find('D') != std::string::npos ? "folder " : "file ";
    };
    std::vector<std::string> removed;
    for (const auto& [path, file] : before.files) {
        const auto now = after.files.find(path);
        if (now == after.files.end()) {
            if (!BelowRemoved(removed, path)) {
                lines.push_back("- " + std::string(kind(file)) + path);
                removed.push_back(path);
            }
        } else if (now->second != file) {
            lines.push_back("~ " + std::string(kind(file)) + path + ": " + Describe(file) + " -> " +
                            Describe(now->second));
        }
    }
    for (const auto& [path, file] : after.files) {
        if (!before.files.contains(path)) {
            lines.push_back("+ " + std::string(kind(file)) + path);
        }
    }
}

void CompareValues(const std::string& key, const Values& before, const Values& after,
                   std::vector<std::string>& lines) {
    for (const auto& [name, value] : before) {
        const auto now = after.find(name);
        if (now == after.end()) {
            lines.push_back("- " + ValueName(key, name));
        } else if (now->second != value) {
            lines.push_back("~ " + ValueName(key, name) + ": " + value + " -> " + now->second);
        }
    }
    for (const auto& [name, value] : after) {
        if (!before.contains(name)) {
            lines.push_back("+ " + ValueName(key, name) + ": " + value);
        }
    }
}

void CompareKeys(const State& before, const State& after, std::vector<std::string>& lines) {
    std::vector<std::string> removed;
    for (const auto& [key, values] : before.keys) {
        const auto now = after.keys.find(key);
        if (now != after.keys.end()) {
            CompareValues(key, values, now->second, lines);
        } else if (!BelowRemoved(removed, key)) {
            lines.push_back("- key " + ShortKey(key));
            removed.push_back(key);
        }
    }
    for (const auto& [key, values] : after.keys) {
        if (!before.keys.contains(key)) {
            lines.push_back("+ key " + ShortKey(key));
            CompareValues(key, {}, values, lines);
        }
    }
}

}  // namespace

std::uint64_t Digest(std::string_view bytes) {
    std::uint64_t digest = 0xcbf29ce484222325U;
    for (const char byte : bytes) {
        digest = (digest ^ static_cast<unsigned char>(byte)) * 0x100000001b3U;
    }
    return digest;
}

std::vector<std::string> Difference(const State& before, const State& after) {
    std::vector<std::string> lines;
    CompareFiles(before, after, lines);
    CompareKeys(before, after, lines);
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
