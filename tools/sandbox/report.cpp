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
    Item item;
    Count with;  // what went or came with it, itself included; empty for a change of its own
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
        changes.push_back({item, {}});
        changes.back().with.Add(item.kind);
    }
};

// A value as people read it, if it is one of the usual: "text" or a decimal number.
std::string Shown(const std::optional<std::string>& written) {
    if (!written) {
        return {};
    }
    if (written->starts_with("dword:")) {
        return std::to_string(std::stoul(written->substr(6), nullptr, 16));
    }
    const std::string data = regtext::ParseValue(*written).data;
    return written->starts_with('"') ? '"' + data.substr(0, data.size() - 1) + '"' : *written;
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

    void Add(const Item& item) {
        const bool ours = ours_.Has(item);
        if (item.same && !ours) {
            untouched.Add(item.kind);
        } else if (item.same) {
            // What is the product's without all that is below it may stay.
            if (item.IsEntry() || ours_.HasTreeOf(item)) {
                lists[kLeft].AddToTree(item);
            }
        } else {
            const bool changed = item.before && item.after;
            const std::size_t what = changed ? 1 : item.before ? 0 : 2;
            List& list = lists.at(what + (ours ? 0 : kForeign));
            if (changed || (item.kind == Kind::Value && !item.withKey)) {
                list.changes.push_back({item, {}});
            } else {
                list.AddToTree(item);
            }
        }
    }

    std::array<List, kHeadings.size()> lists;
    Count untouched;  // of everybody else

 private:
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
        std::stable_sort(changes.begin(), changes.end(), [](const auto& one, const auto& two) {
            return one.item.place < two.item.place;
        });
        Line(style.empty() ? kBold : style, heading);
        std::string key;  // that the values belong to
        for (const Change& change : changes) {
            const Item& item = change.item;
            if (item.kind != Kind::Value || !change.with.Text().empty()) {
                PrintWhole(change, style);
                continue;
            }
            if (key != item.place) {
                Line(style, "  " + Brief(item.place));
                key = item.place;
            }
            PrintValue(item, style);
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
        std::string line = "  " + Brief(change.item.place);
        line.append(Width(line) + 2 < kColumn ? kColumn - Width(line) : 2, ' ');
        const std::string count = change.with.Text();
        Line("", Styled(style, line) + Styled(kDim, !count.empty() ? count
                                                                   : *change.item.before + " -> " +
                                                                         *change.item.after));
    }

    void PrintValue(const Item& item, std::string_view style) {
        const std::string start = "    " + (item.name.empty() ? "(Default)" : item.name) + ": ";
        const std::string before = Shown(item.before);
        const std::string after = Shown(item.after);
        if (!item.before || !item.after) {
            Line("", Styled(style, start) + Styled(kDim, before + after));
        } else if (Width(start + before + after) < kColumn) {
            Line("", Styled(style, start) + Styled(kDim, before + " -> ") + after);
        } else {
            Line("", Styled(style, start) + Styled(kDim, before));
            Line("", Styled(style, std::string(Width(start) - 3, ' ') + "-> ") + after);
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
