#include "platform/hosted/ui/dialog.h"

#include <algorithm>
#include <array>

#include "platform/hosted/machine.h"

namespace hosted {
namespace {

constexpr std::size_t kWidest = 76;     // longer lines read badly
constexpr std::size_t kNarrowest = 15;  // the longest button; narrower ones are not usable
constexpr std::size_t kSides = 4;       // the frame and a blank, left and right
constexpr std::size_t kTabStop = 4;
constexpr std::size_t kGap = 3;  // between buttons

constexpr std::string_view kBold = "\x1b[1m";
constexpr std::string_view kUnderlined = "\x1b[4m";
constexpr std::string_view kReversed = "\x1b[7m";
constexpr std::string_view kPlain = "\x1b[0m";

struct Icon {
    std::string_view symbol, colour;
};
constexpr std::array<Icon, 5> kIcons{{{"", ""},
                                      {"(X)  ", "\x1b[1;31m"},
                                      {"(?)  ", "\x1b[1;36m"},
                                      {"(!)  ", "\x1b[1;33m"},
                                      {"(i)  ", "\x1b[1;36m"}}};

using Lines = std::vector<std::string>;

std::string Rule(std::string_view left, std::size_t width, std::string_view right) {
    std::string rule(left);
    for (std::size_t i = 0; i < width; ++i) {
        rule += "─";
    }
    return rule.append(right);
}

std::string Styled(std::string_view style, std::string_view text, bool allowed) {
    std::string result;
    return allowed ? result.append(style).append(text).append(kPlain) : std::string(text);
}

// One line without its line break, with nothing in it that would steer a terminal.
std::string Harmless(std::string_view line) {
    constexpr std::string_view kUnassigned = "\x7F\x81\x8D\x8F\x90\x9D";
    std::string result;
    for (const char character : line) {
        if (character == '\t') {
            result.append(kTabStop - result.size() % kTabStop, ' ');
        } else if (static_cast<unsigned char>(character) < ' ' ||
                   kUnassigned.find(character) != std::string_view::npos) {
            result += '\xB7';  // a dot
        } else {
            // Some terminals give a soft hyphen no column.
            result += character == '\xAD' ? '-' : character;
        }
    }
    return result;
}

// The lines of a text, none longer than width, broken at blanks where possible.
Lines Wrap(std::string_view text, std::size_t width) {
    Lines lines;
    for (std::size_t start = 0; start <= text.size();) {
        const std::size_t next = std::min(text.find('\n', start), text.size());
        const bool carriage = next > start && text[next - 1] == '\r';
        std::string line = Harmless(text.substr(start, next - start - (carriage ? 1 : 0)));
        while (line.size() > width) {
            // The blank at the break belongs to neither line.
            const std::size_t end = line.rfind(' ', width);
            const bool blank = end != std::string::npos && line.find_first_not_of(' ') < end;
            lines.push_back(line.substr(0, blank ? end : width));
            line.erase(0, blank ? end + 1 : width);
        }
        lines.push_back(line);
        start = next + 1;
    }
    return lines;
}

// "&" is not shown; the sides take four columns.
std::size_t WidthOf(const std::string& button) {
    return button.size() + 3;
}

std::string Face(const std::string& button, bool focused, bool attributes) {
    const std::size_t mark = button.find('&');
    std::string text(focused ? "[ " : "  ");
    text += button.substr(0, mark);
    text += Styled(kUnderlined, button.substr(mark + 1, 1), attributes);
    // The end of the underlining ended the reversal, too.
    text += focused && attributes ? kReversed : "";
    text += button.substr(mark + 2);
    text += focused ? " ]" : "  ";
    return focused ? Styled(kReversed, text, attributes) : text;
}

// As many buttons side by side as there is room for, centred.
Lines ButtonRows(const Dialog& dialog, std::size_t width, bool attributes) {
    Lines rows;
    for (std::size_t i = 0; i < dialog.buttons.size();) {
        std::string row;
        std::size_t used = 0;
        do {
            const std::size_t gap = used > 0 ? kGap : 0;
            row += std::string(gap, ' ') + Face(dialog.buttons[i], i == dialog.focus, attributes);
            used += gap + WidthOf(dialog.buttons[i]);
            ++i;
        } while (i < dialog.buttons.size() && used + kGap + WidthOf(dialog.buttons[i]) <= width);
        const std::size_t free = width > used ? width - used : 0;
        rows.push_back(std::string(free / 2, ' ') + row + std::string(free - free / 2, ' '));
    }
    return rows;
}

// The width of what is between the sides of the frame.
std::size_t WidthOf(const Dialog& dialog, const Screen& screen, std::size_t indent) {
    const std::size_t room = std::max(screen.columns, kNarrowest + kSides) - kSides;
    const std::size_t limit = std::min(room, kWidest);
    std::size_t buttons = 0;
    for (const std::string& button : dialog.buttons) {
        buttons += WidthOf(button) + (buttons > 0 ? kGap : 0);
    }
    std::size_t width = std::max({dialog.title.size() + kSides, buttons, kNarrowest});
    for (const DialogText& text : dialog.texts) {
        width = text.rows > 0 ? limit : width;
        for (const std::string& line : Wrap(text.text, limit - indent)) {
            width = std::max(width, indent + line.size());
        }
    }
    return std::min(width, limit);
}

std::string Top(const Dialog& dialog, std::size_t width, bool attributes) {
    const std::string mark = dialog.closeBox ? "[x]┐" : "┐";
    const std::size_t taken = dialog.closeBox ? 3 : 0;
    const std::string title = dialog.title.substr(0, width - kSides - taken);
    return Rule("┌─ " + Styled(kBold, ToUtf8(Harmless(title)), attributes) + " ",
                width - title.size() - taken - 1, mark);
}

Lines Rows(const DialogText& text, std::size_t width) {
    const bool framed = text.rows > 0;
    const std::size_t room = framed ? width - kSides : width;
    Lines rows = Wrap(text.text, room);
    rows.resize(std::max(rows.size(), text.rows));
    for (std::string& row : rows) {
        row.insert(0, text.centred ? (room - row.size()) / 2 : 0, ' ');
        row.resize(room, ' ');
        row = framed ? "│ " + ToUtf8(row) + " │" : ToUtf8(row);
    }
    if (framed) {
        rows.insert(rows.begin(), Rule("┌", width - 2, "┐"));
        rows.push_back(Rule("└", width - 2, "┘"));
    }
    return rows;
}

}  // namespace

Lines Draw(const Dialog& dialog, const Screen& screen) {
    const Icon& icon = kIcons[dialog.icon];
    const std::size_t width = WidthOf(dialog, screen, icon.symbol.size());
    Lines lines{Top(dialog, width, screen.attributes)};
    const auto add = [&lines](const std::string& row) { lines.push_back("│ " + row + " │"); };
    std::string front = Styled(icon.colour, icon.symbol, screen.colours && !icon.symbol.empty());
    for (const DialogText& text : dialog.texts) {
        for (const std::string& row : Rows(text, width - icon.symbol.size())) {
            add(front + row);
            front = std::string(icon.symbol.size(), ' ');
        }
    }
    if (!dialog.buttons.empty()) {
        add(std::string(width, ' '));
    }
    for (const std::string& row : ButtonRows(dialog, width, screen.attributes)) {
        add(row);
    }
    lines.push_back(Rule("└", width + 2, "┘"));
    return lines;
}

}  // namespace hosted
