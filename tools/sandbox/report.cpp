#include "tools/sandbox/report.h"

#include <algorithm>
#include <array>

namespace sandbox {
namespace {

using Kind = Item::Kind;

constexpr std::string_view kBold = "\x1b[1m";
constexpr std::string_view kRed = "\x1b[1;31m";
constexpr std::string_view kGreen = "\x1b[32m";
constexpr std::string_view kDim = "\x1b[2m";
constexpr std::string_view kPlain = "\x1b[0m";
constexpr std::size_t kColumn = 64;  // where the counts stand

// The lists of a report: what happened to the product, what is left of it, and what happened
// to everything else.
constexpr std::array<const char*, 7> kHeadings{
    "Removed",          "Changed",          "Added",         "Left of the product",
    "FOREIGN, removed", "FOREIGN, changed", "FOREIGN, added"};
constexpr std::size_t kLeft = 3, kForeign = 4;

// How many of each kind: "3 files, 1 folder", empty for none.
struct Count {
    std::array<std::size_t, 4> of{};

    void Add(Kind kind) { ++of.at(static_cast<std::size_t>(kind)); }
    [[nodiscard]] std::string Text() const {
        constexpr std::array<const char*, 4> kNames{"file", "folder", "key", "value"};
        std::string text;
        for (std::size_t i = 0; i < of.size(); ++i) {
            if (of.at(i) > 0) {
                text += (text.empty() ? "" : ", ") + std::to_string(of.at(i)) + " " + kNames.at(i) +
                        (of.at(i) == 1 ? "" : "s");
            }
        }
        return text;
    }
};

struct Change {
    std::string place, value;   // value: its name, if it is one of a key that stays
    std::string before, after;  // what it was and is
    Count with;                 // what went or came with it, itself included
};

struct List {
    std::vector<Change> changes;
    std::map<std::string, std::size_t> trees;

    // What lies in a place that has a line already only adds to its count.
    void AddToTree(const Item& item) {
        for (std::size_t end = item.place.size(); end != std::string::npos && end > 0;
             end = item.place.rfind('\\', end - 1)) {
            if (const auto known = trees.find(item.place.substr(0, end)); known != trees.end()) {
                changes[known->second].with.Add(item.kind);
                return;
            }
        }
        trees[item.place] = changes.size();
        changes.push_back({item.place, "", "", "", {}});
        changes.back().with.Add(item.kind);
    }
};

// A value as people read it, if it is one of the usual: "text" or a decimal number.
std::string Shown(const std::string& written) {
    if (written.starts_with("dword:")) {
        return std::to_string(std::stoul(written.substr(6), nullptr, 16));
    }
    const std::string data = regtext::ParseValue(written).data;
    return written.starts_with('"') ? '"' + data.substr(0, data.size() - 1) + '"' : written;
}

// Characters of a UTF-8 text.
std::size_t Width(std::string_view text) {
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char byte) {
        return (static_cast<unsigned char>(byte) & 0xC0) != 0x80;
    }));
}

class Sorter {
 public:
    explicit Sorter(const Ours& ours) : ours_(ours) {}

    void Add(Item item) {
        if (item.kind == Kind::Value) {
            item.before = item.before ? std::optional(Shown(*item.before)) : std::nullopt;
            item.after = item.after ? std::optional(Shown(*item.after)) : std::nullopt;
        }
        const bool ours = IsOurs(item);
        const bool isEntry = item.kind == Kind::File || item.kind == Kind::Folder;
        if (item.same && !ours) {
            untouched.Add(item.kind);
        } else if (item.same) {
            // Of a key that is the product's alone, without those below, it may stay.
            if (isEntry || ours_.HasTree(item.place)) {
                lists[kLeft].AddToTree(item);
            }
        } else {
            const bool changed = item.before && item.after;
            const std::size_t what = changed ? 1 : item.before ? 0 : 2;
            List& list = lists.at(what + (ours ? 0 : kForeign));
            if (changed || (item.kind == Kind::Value && !item.withKey)) {
                const std::string name = item.name.empty() ? "(Default)" : item.name;
                list.changes.push_back({item.place,
                                        isEntry ? "" : name,
                                        item.before.value_or(""),
                                        item.after.value_or(""),
                                        {}});
            } else {
                list.AddToTree(item);
            }
        }
    }

    std::array<List, kHeadings.size()> lists;
    Count untouched;  // of everybody else

 private:
    [[nodiscard]] bool IsOurs(const Item& item) const {
        if (item.kind == Kind::File || item.kind == Kind::Folder) {
            return ours_.HasPath(item.place);
        }
        if (item.kind == Kind::Key || item.withKey) {
            return ours_.HasKey(item.place);
        }
        return item.same ? ours_.HasValue(item.place, item.name)
                         : ours_.Allows(item.place, item.name, item.after);
    }

    const Ours& ours_;
};

class Printer {
 public:
    Printer(const std::string& user, bool colours) : colours_(colours) {
        if (!user.empty()) {
            roots_.emplace_back("HKEY_USERS\\" + user + "\\", "HKCU\\");
        }
        roots_.emplace_back("HKEY_LOCAL_MACHINE\\", "HKLM\\");
        roots_.emplace_back("HKEY_USERS\\", "HKU\\");
    }

    void Line(std::string_view style, const std::string& text) {
        text_ += Styled(style, text) + "\n";
    }

    void Print(const std::string& heading, std::vector<Change> changes, std::string_view style) {
        if (changes.empty()) {
            return;
        }
        std::stable_sort(changes.begin(), changes.end(),
                         [](const auto& one, const auto& two) { return one.place < two.place; });
        Line(style.empty() ? kBold : style, heading);
        std::string key;  // that the values belong to
        for (const Change& change : changes) {
            if (change.value.empty()) {
                PrintWhole(change, style);
                continue;
            }
            if (key != change.place) {
                Line(style, "  " + Brief(change.place));
                key = change.place;
            }
            PrintValue(change, style);
        }
        text_ += "\n";
    }

    [[nodiscard]] const std::string& Text() const { return text_; }

 private:
    [[nodiscard]] std::string Brief(const std::string& place) const {
        for (const auto& [name, brief] : roots_) {
            if (place.starts_with(name)) {
                return brief + place.substr(name.size());
            }
        }
        return place;
    }

    [[nodiscard]] std::string Styled(std::string_view style, std::string_view text) const {
        std::string result;
        return colours_ && !style.empty() ? result.append(style).append(text).append(kPlain)
                                          : std::string(text);
    }

    void PrintWhole(const Change& change, std::string_view style) {
        std::string line = "  " + Brief(change.place);
        const std::string count = change.with.Text();
        line.append(Width(line) + 2 < kColumn ? kColumn - Width(line) : 2, ' ');
        Line("", Styled(style, line) +
                     Styled(kDim, count.empty() ? change.before + " -> " + change.after : count));
    }

    void PrintValue(const Change& change, std::string_view style) {
        const std::string start = "    " + change.value + ": ";
        if (change.before.empty() || change.after.empty()) {
            Line("", Styled(style, start) + Styled(kDim, change.before + change.after));
        } else if (Width(start + change.before + change.after) < kColumn) {
            Line("", Styled(style, start) + Styled(kDim, change.before + " -> ") + change.after);
        } else {
            Line("", Styled(style, start) + Styled(kDim, change.before));
            Line("", Styled(style, std::string(Width(start) - 3, ' ') + "-> ") + change.after);
        }
    }

    bool colours_;
    std::vector<std::pair<std::string, std::string>> roots_;
    std::string text_;
};

}  // namespace

Report ReportOn(const State& before, const State& after, const Ours& ours, bool colours) {
    Sorter sorter(ours);
    for (const Item& item : Compare(before, after)) {
        sorter.Add(item);
    }
    const auto areEmpty = [&](std::size_t first) {
        return std::all_of(sorter.lists.begin() + first, sorter.lists.begin() + first + 3,
                           [](const List& list) { return list.changes.empty(); });
    };
    Printer printer(before.user, colours);
    for (std::size_t i = 0; i < kForeign; ++i) {
        printer.Print(kHeadings.at(i), sorter.lists.at(i).changes, "");
    }
    if (areEmpty(0)) {
        printer.Line("", "Nothing of the product was removed or changed.");
    }
    const std::string untouched = sorter.untouched.Text();
    printer.Line("", "Untouched, of the system and of other products: " +
                         (untouched.empty() ? "nothing" : untouched) + ".");
    for (std::size_t i = kForeign; i < kHeadings.size(); ++i) {
        printer.Print(kHeadings.at(i), sorter.lists.at(i).changes, kRed);
    }
    if (areEmpty(kForeign)) {
        printer.Line(kGreen, "Nothing foreign was removed, changed or added.");
    }
    return {printer.Text(), !areEmpty(kForeign)};
}

}  // namespace sandbox
