#include "tools/machine/print.h"

namespace report {
namespace {

constexpr std::string_view kBold = "\x1b[1m";
constexpr std::string_view kRed = "\x1b[1;31m";
constexpr std::string_view kGreen = "\x1b[32m";
constexpr std::string_view kDim = "\x1b[2m";
constexpr std::string_view kPlain = "\x1b[0m";
constexpr std::size_t kColumn = 64;  // where the counts stand

// Characters of a UTF-8 text.
std::size_t Width(std::string_view text) {
    std::size_t width = 0;
    for (const char byte : text) {
        width += (static_cast<unsigned char>(byte) & 0xC0) != 0x80 ? 1 : 0;
    }
    return width;
}

class Printing {
 public:
    Printing(const Difference& difference, const std::string& user, bool colours)
        : difference_(difference), colours_(colours) {
        if (!user.empty()) {
            roots_.emplace_back("HKEY_USERS\\" + user + "\\", "HKCU\\");
        }
        roots_.emplace_back("HKEY_LOCAL_MACHINE\\", "HKLM\\");
        roots_.emplace_back("HKEY_USERS\\", "HKU\\");
    }

    std::string Finish() {
        const Changes& ours = difference_.ours;
        List("Removed", ours.removed, "");
        List("Changed", ours.changed, "");
        List("Added", ours.added, "");
        List("Left of the product", difference_.left, "");
        if (ours.Empty()) {
            Line("", "Nothing of the product was removed or changed.");
        }
        const std::string untouched = difference_.untouched.Text();
        Line("", "Untouched, of the system and of other products: " +
                     (untouched.empty() ? "nothing" : untouched) + ".");
        const Changes& foreign = difference_.foreign;
        if (foreign.Empty()) {
            Line(kGreen, "Nothing foreign was removed, changed or added.");
        } else {
            List("FOREIGN, removed", foreign.removed, kRed);
            List("FOREIGN, changed", foreign.changed, kRed);
            List("FOREIGN, added", foreign.added, kRed);
        }
        return std::move(text_);
    }

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

    void Line(std::string_view style, const std::string& text) {
        text_ += Styled(style, text) + "\n";
    }

    void List(const std::string& heading, const std::vector<Change>& changes,
              std::string_view style) {
        if (changes.empty()) {
            return;
        }
        Line(style.empty() ? kBold : style, heading);
        std::string key;  // that the values belong to
        for (const Change& change : changes) {
            if (change.value.empty()) {
                WholeLine(change, style);
                continue;
            }
            if (key != change.place) {
                Line(style, "  " + Brief(change.place));
                key = change.place;
            }
            ValueLine(change, style);
        }
        text_ += "\n";
    }

    void WholeLine(const Change& change, std::string_view style) {
        std::string line = "  " + Brief(change.place);
        std::string what = change.with.Text();
        if (what.empty()) {
            what = change.before + " -> " + change.after;
        }
        line.append(Width(line) + 2 < kColumn ? kColumn - Width(line) : 2, ' ');
        Line("", Styled(style, line) + Styled(kDim, what));
    }

    void ValueLine(const Change& change, std::string_view style) {
        const std::string start = "    " + change.value + ": ";
        if (change.before.empty() || change.after.empty()) {
            Line("", Styled(style, start) + Styled(kDim, change.before + change.after));
        } else if (Width(start + change.before + change.after) < kColumn) {
            Line("", Styled(style, start) + Styled(kDim, change.before + " -> ") + change.after);
        } else {
            const std::string below = std::string(Width(start) - 3, ' ') + "-> ";
            Line("", Styled(style, start) + Styled(kDim, change.before));
            Line("", Styled(style, below) + change.after);
        }
    }

    const Difference& difference_;
    bool colours_;
    std::vector<std::pair<std::string, std::string>> roots_;
    std::string text_;
};

}  // namespace

std::string ReportText(const Difference& difference, const std::string& user, bool colours) {
    return Printing(difference, user, colours).Finish();
}

}  // namespace report
