#include "tests/faults/verdict.h"

#include <algorithm>
#include <cctype>
#include <optional>
#include <set>
#include <sstream>

namespace support {
namespace {

template <typename Map>
auto Find(const Map& map, const std::string& name) {
    const auto found = map.find(name);
    return found == map.end() ? std::nullopt : std::optional(found->second);
}

template <typename Map>
std::set<std::string> Names(const Map& one, const Map& other) {
    std::set<std::string> names;
    for (const Map* map : {&one, &other}) {
        for (const auto& [name, entry] : *map) {
            names.insert(name);
        }
    }
    return names;
}

Values ValuesOf(const State& state, const std::string& key) {
    return Find(state.keys, key).value_or(Values{});
}

bool IsBelow(const std::string& name, const std::string& parent) {
    return name.size() > parent.size() && name.starts_with(parent) && name[parent.size()] == '\\';
}

// The names under which the program may know a key.
Lines NamesOf(const std::string& key) {
    Lines names{key};
    for (const auto& [place, root] : std::vector<std::pair<std::string, std::string>>{
             {kClasses, "HKEY_CLASSES_ROOT\\"},
             {kUser + "Software\\Classes\\", "HKEY_CLASSES_ROOT\\"},
             {kUser, "HKEY_CURRENT_USER\\"}}) {
        if (key.starts_with(place)) {
            names.push_back(root + key.substr(place.size()));
        }
    }
    return names;
}

bool NamesPath(const std::string& lines, const std::string& kind, const std::string& path) {
    return lines.find(kind + " \"" + path + "\" konnte nicht gelöscht werden.") !=
           std::string::npos;
}

bool IsFileNamed(const std::string& path, const std::string& lines) {
    const std::string folder = path.substr(0, path.rfind('\\'));
    if (path == kProgramFolder + "\\Tessorin.exe" || path == kProgramFolder + "\\UnInstall.exe") {
        return NamesPath(lines, "Die Datei", path);
    }
    // Where no menu can be found, the line has no path to name.
    if ((path == kGroupFolder || IsBelow(path, kGroupFolder)) &&
        NamesPath(lines, "Das Verzeichnis", "Tessorin")) {
        return true;
    }
    if (folder == kGroupFolder) {
        return NamesPath(lines, "Die Verknüpfung", path);
    }
    const std::string& named =
        path == kGroupFolder || IsBelow(path, kGroupFolder) ? kGroupFolder : kProgramFolder;
    return NamesPath(lines, "Das Verzeichnis", named);
}

// A key's own line, one of a key above it, or the report about a value of it or below it
// that could not be read.
bool IsKeyNamed(const std::string& key, const std::string& lines) {
    for (const std::string& name : NamesOf(key)) {
        for (std::string above = name; above.find('\\') != std::string::npos;
             above.resize(above.rfind('\\'))) {
            if (NamesPath(lines, "Der Registrierungsschlüssel", above)) {
                return true;
            }
        }
        if (lines.find("Der Registrierungswert (Standard) im Schlüssel \"" + name) !=
            std::string::npos) {
            return true;
        }
    }
    return false;
}

// Keys are stored in letter cases that the program's lines need not have.
bool Says(const std::string& lines, const std::string& part) {
    const auto same = [](char left, char right) {
        return left == right || (std::isalpha(static_cast<unsigned char>(left)) != 0 &&
                                 (left ^ right) == ('a' ^ 'A'));
    };
    return std::search(lines.begin(), lines.end(), part.begin(), part.end(), same) != lines.end();
}

bool IsValueNamed(const Item& item, const std::string& lines) {
    if (item.place == kSharedDlls) {
        return lines.find("Die gemeinsam genutzte Datei \"" + item.name + "\" konnte") !=
                   std::string::npos ||
               lines.find("Die gemeinsam genutzten Dateien konnten") != std::string::npos;
    }
    const std::string value = item.name.empty() ? "(Standard)" : "\"" + item.name + "\"";
    const Lines keys = NamesOf(item.place);
    return std::any_of(keys.begin(), keys.end(), [&](const std::string& key) {
        const std::string said = "Der Registrierungswert " + value + " im Schlüssel \"" + key;
        // What the value belongs to is read from a value further down.
        const std::string below =
            "Der Registrierungswert (Standard) im Schlüssel \"" + key + "\\shell\\edit\\command\"";
        return Says(lines, said + "\"") || Says(lines, below);
    });
}

bool Contains(const std::string& text, std::string_view part) {
    return text.find(part) != std::string::npos;
}

bool SaysTheEnd(const std::string& line) {
    return (line.starts_with("[x] *Yes No") && Contains(line, "das Programm wird beendet")) ||
           Contains(line, "Nicht genügend Arbeitsspeicher oder Systemressourcen verfügbar.") ||
           Contains(line, "Unbekanntes Befehlszeilenargument") || line == InUse("Cancel") ||
           Contains(line, " -> Abort: ") || line == Confirmation("No");
}

bool IsUsual(const std::string& line) {
    const Lines usual{Progress(), Confirmation(), ResetQuestion(), FolderNotEmpty(kProgramFolder),
                      FolderNotEmpty(kGroupFolder)};
    return std::find(usual.begin(), usual.end(), line) != usual.end() ||
           Contains(line, " -> Retry: ") || line.starts_with("an answer that does not fit");
}

// What was shown, line by line.
void Hear(const std::string& line, Told& told) {
    if (line == Success()) {
        told.success = true;
    } else if (line.starts_with("frmUnInstDone -> ")) {
        told.problems = true;
        told.lines += line + "\n";
    } else if (SaysTheEnd(line)) {
        told.ended = true;
    } else if (line == ResetQuestion("No")) {
        told.keptShell = true;
    } else if (Contains(line, " -> Ignore: ")) {
        told.lines += line + "\n";
    } else if (!IsUsual(line)) {
        told.unexpected.push_back(line);
    }
}

}  // namespace

std::string Item::Text() const {
    switch (kind) {
        case Kind::File:
            return "file " + place;
        case Kind::Key:
            return "key " + place;
        case Kind::Value:
            break;
    }
    return "value " + place + " | " + (name.empty() ? "@" : name);
}

Baseline TakeBaseline() {
    Machine machine;
    Baseline baseline;
    baseline.before = machine.Look();
    ExpectOutcome(
        machine.RunFirst({}),
        {Confirmation(), Progress(), FolderNotEmpty(kProgramFolder), ResetQuestion(), Success()},
        CompleteRemoval());
    baseline.complete = machine.Look();
    return baseline;
}

Lines HandOverFiles() {
    return {kTempFolder + "\\UnInstall.bat", kTempFolder + "\\UnInstall.exe",
            kTempFolder + "\\UnInstall.pif"};
}

std::vector<Item> Foreign(const Baseline& baseline, const State& after) {
    const auto& [before, complete] = baseline;
    const Lines handOver = HandOverFiles();
    std::vector<Item> foreign;
    for (const std::string& path : Names(before.files, after.files)) {
        const auto now = Find(after.files, path);
        if (now != Find(before.files, path) && now != Find(complete.files, path) &&
            std::find(handOver.begin(), handOver.end(), path) == handOver.end()) {
            foreign.push_back({Item::Kind::File, path, {}});
        }
    }
    for (const std::string& key : Names(before.keys, after.keys)) {
        const bool isThere = after.keys.contains(key);
        if (isThere != before.keys.contains(key) && isThere != complete.keys.contains(key)) {
            foreign.push_back({Item::Kind::Key, key, {}});
        }
        const Values then = ValuesOf(before, key);
        const Values now = ValuesOf(after, key);
        for (const std::string& name : Names(then, now)) {
            const auto value = Find(now, name);
            if (isThere && value != Find(then, name) &&
                value != Find(ValuesOf(complete, key), name)) {
                foreign.push_back({Item::Kind::Value, key, name});
            }
        }
    }
    return foreign;
}

std::vector<Item> LeftOver(const Baseline& baseline, const State& after) {
    const auto& [before, complete] = baseline;
    std::vector<Item> left;
    for (const auto& [path, file] : before.files) {
        if (!complete.files.contains(path) && after.files.contains(path)) {
            left.push_back({Item::Kind::File, path, {}});
        }
    }
    for (const auto& [key, values] : before.keys) {
        if (!after.keys.contains(key)) {
            continue;
        }
        if (!complete.keys.contains(key)) {
            left.push_back({Item::Kind::Key, key, {}});
            continue;
        }
        for (const auto& [name, value] : values) {
            if (Find(ValuesOf(complete, key), name) != value &&
                Find(ValuesOf(after, key), name) == value) {
                left.push_back({Item::Kind::Value, key, name});
            }
        }
    }
    return left;
}

Told WhatWasTold(const Outcome& outcome) {
    Told told;
    for (const std::string& line : outcome.shown) {
        Hear(line, told);
    }
    std::istringstream errors(outcome.errors);
    for (std::string line; std::getline(errors, line);) {
        if (line.starts_with("del \"") || line.starts_with("start \"")) {
            told.interpreter += line + "\n";
        } else if (!line.starts_with("answer \"")) {
            told.unexpected.push_back(line);
        }
    }
    return told;
}

bool IsNamed(const Item& item, const Told& told) {
    switch (item.kind) {
        case Item::Kind::File:
            return IsFileNamed(item.place, told.lines);
        case Item::Kind::Key:
            return IsKeyNamed(item.place, told.lines);
        case Item::Kind::Value:
            break;
    }
    return IsValueNamed(item, told.lines);
}

bool IsShellSetting(const Item& item) {
    return item.kind != Item::Kind::File &&
           (item.place.starts_with(kClasses) ||
            item.place.find("\\Software\\Classes\\") != std::string::npos ||
            item.place.find("\\Internet Explorer\\") != std::string::npos ||
            item.place.find("\\Shared\\HTML\\") != std::string::npos);
}

bool IsMakerKeyInUse(const Item& item, const State& after) {
    return item.kind == Item::Kind::Key && item.place.ends_with("\\" + kMakerKey) &&
           std::any_of(after.keys.begin(), after.keys.end(),
                       [&](const auto& key) { return IsBelow(key.first, item.place); });
}

}  // namespace support
