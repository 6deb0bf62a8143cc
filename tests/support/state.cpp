#include "tests/support/state.h"

namespace support {
namespace {

std::string NameOf(const sandbox::Item& item) {
    using Kind = sandbox::Item::Kind;
    if (item.kind == Kind::File || item.kind == Kind::Folder) {
        return (item.kind == Kind::File ? "file " : "folder ") + item.place;
    }
    const bool isUsers = item.place.starts_with("HKEY_USERS");
    const std::string root = isUsers ? "HKEY_USERS" : "HKEY_LOCAL_MACHINE";
    const std::string key = (isUsers ? "HKU" : "HKLM") + item.place.substr(root.size());
    return item.kind == Kind::Key ? "key " + key
                                  : "value " + key + "\\" + (item.name.empty() ? "@" : item.name);
}

}  // namespace

std::vector<std::string> Difference(const State& before, const State& after) {
    std::vector<std::string> lines;
    std::string gone;  // the last folder or key that is gone; what is below it comes behind it
    for (const sandbox::Item& item : sandbox::Compare(before, after)) {
        const bool isValue = item.kind == sandbox::Item::Kind::Value;
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

Things ThingsOf(const State& state) {
    Things things;
    for (const auto& [path, file] : state.files) {
        things[path] =
            file.attributes + std::to_string(file.size) + " " + std::to_string(file.digest);
    }
    for (const auto& [key, values] : state.keys) {
        things[key] = "a key";
        for (const auto& [name, value] : values) {
            things[key + "|" + name] = value;
        }
    }
    return things;
}

}  // namespace support
