#include "platform/hosted/ui/dialog.h"

#include <algorithm>

#include "platform/hosted/machine.h"

namespace hosted {
namespace {

constexpr std::size_t kWidest = 76;     // longer lines read badly
constexpr std::size_t kNarrowest = 15;  // the longest button; narrower ones are not usable
constexpr std::size_t kSides = 4;       // the frame and a blank, left and right
constexpr std::size_t kFieldSides = 4;
constexpr std::size_t kSymbolWidth = 5;
constexpr std::size_t kTabStop = 4;
constexpr std::size_t kButtonSides = 4;
constexpr std::size_t kGap = 3;  // between buttons

constexpr std::string_view kBold = "\x1b[1m";
constexpr std::string_view kUnderlined = "\x1b[4m";
constexpr std::string_view kReversed = "\x1b[7m";
constexpr std::string_view kPlain = "\x1b[0m";

struct SymbolLook {
    std::string_view text, colour;
};

SymbolLook LookOf(Symbol symbol) {
    switch (symbol) {
        case Symbol::Stop:
            return {"(X)", "\x1b[1;31m"};
        case Symbol::Question:
            return {"(?)", "\x1b[1;36m"};
        case Symbol::Warning:
            return {"(!)", "\x1b[1;33m"};
        case Symbol::Information:
            return {"(i)", "\x1b[1;36m"};
        case Symbol::None:
            break;
    }
    return {"", ""};
}

std::string Repeated(std::string_view text, std::size_t count) {
    std::string result;
    for (std::size_t i = 0; i < count; ++i) {
        result += text;
    }
    return result;
}

std::string Padded(std::string_view text, std::size_t width) {
    std::string result(text);
    result.resize(std::max(width, result.size()), ' ');
    return result;
}

std::string Styled(std::string_view style, std::string_view text, bool allowed) {
    std::string result;
    return allowed ? result.append(style).append(text).append(kPlain) : std::string(text);
}

// One line without its line break, as it may be shown.
std::string Harmless(std::string_view line) {
    constexpr char kDot = '\xB7';
    std::string result;
    for (const char character : line) {
        const auto code = static_cast<unsigned char>(character);
        const bool unassigned =
            code == 0x81 || code == 0x8D || code == 0x8F || code == 0x90 || code == 0x9D;
        if (character == '\t') {
            result.append(kTabStop - result.size() % kTabStop, ' ');
        } else if (code == 0xAD) {
            result += '-';  // some terminals give a soft hyphen no column
        } else {
            result += code < ' ' || code == 0x7F || unassigned ? kDot : character;
        }
    }
    return result;
}

void WrapLine(std::string_view line, std::size_t width, std::vector<std::string>& lines) {
    while (line.size() > width) {
        // The blank at the break belongs to neither line.
        std::size_t end = line.rfind(' ', width);
        const bool blank = end != std::string_view::npos && line.find_first_not_of(' ') < end;
        end = blank ? end : width;
        lines.emplace_back(line.substr(0, end));
        line.remove_prefix(blank ? end + 1 : end);
    }
    lines.emplace_back(line);
}

std::size_t Longest(const std::vector<std::string>& lines) {
    std::size_t longest = 0;
    for (const std::string& line : lines) {
        longest = std::max(longest, line.size());
    }
    return longest;
}

// ---- buttons ---------------------------------------------------------------------

std::size_t WidthOf(const DialogButton& button) {
    return button.label.size() + kButtonSides;
}

std::string Face(const DialogButton& button, bool focused, const Canvas& canvas) {
    const std::string_view label(button.label);
    std::string text(focused ? "[ " : "  ");
    text += ToUtf8(label.substr(0, button.access));
    text += Styled(kUnderlined, ToUtf8(label.substr(button.access, 1)), canvas.attributes);
    // The end of the underlining ended the reversal, too.
    text += focused && canvas.attributes ? kReversed : "";
    text += ToUtf8(label.substr(std::min(button.access + 1, label.size())));
    text += focused ? " ]" : "  ";
    return focused ? Styled(kReversed, text, canvas.attributes) : text;
}

// As many buttons side by side as there is room for, centred.
std::vector<std::string> ButtonRows(const Dialog& dialog, std::size_t width, const Canvas& canvas) {
    std::vector<std::string> rows;
    for (std::size_t first = 0; first < dialog.buttons.size();) {
        std::size_t used = 0;
        std::string row;
        std::size_t next = first;
        for (; next < dialog.buttons.size(); ++next) {
            const std::size_t gap = next == first ? 0 : kGap;
            if (next != first && used + gap + WidthOf(dialog.buttons[next]) > width) {
                break;
            }
            row.append(gap, ' ').append(Face(dialog.buttons[next], next == dialog.focus, canvas));
            used += gap + WidthOf(dialog.buttons[next]);
        }
        const std::size_t free = width > used ? width - used : 0;
        rows.push_back(std::string(free / 2, ' ') + row + std::string(free - free / 2, ' '));
        first = next;
    }
    return rows;
}

std::size_t ButtonsWidth(const Dialog& dialog) {
    std::size_t width = 0;
    for (const DialogButton& button : dialog.buttons) {
        width += WidthOf(button) + (width > 0 ? kGap : 0);
    }
    return width;
}

// ---- the frame and what is in it ---------------------------------------------------

class Drawing {
 public:
    Drawing(const Dialog& dialog, const Canvas& canvas)
        : dialog_(dialog),
          canvas_(canvas),
          indent_(dialog.symbol == Symbol::None ? 0 : kSymbolWidth),
          width_(Width()) {}

    Picture Finish() {
        Measure();
        Top();
        for (std::size_t i = 0; i < dialog_.texts.size(); ++i) {
            Text(i);
        }
        if (!dialog_.buttons.empty()) {
            Line("", width_);
            for (const std::string& row : ButtonRows(dialog_, width_, canvas_)) {
                Line(row, 0);
            }
        }
        picture_.lines.push_back("└" + Repeated("─", width_ + 2) + "┘");
        return std::move(picture_);
    }

 private:
    [[nodiscard]] std::size_t Width() const {
        const std::size_t room = std::max(canvas_.columns, kNarrowest + kSides) - kSides;
        const std::size_t limit = std::min(room, kWidest);
        std::size_t wanted = std::max(dialog_.title.size() + 4, ButtonsWidth(dialog_));
        for (const DialogText& text : dialog_.texts) {
            wanted = text.rows > 0
                         ? limit
                         : std::max(wanted, indent_ + Longest(Wrap(text.text, limit - indent_)));
        }
        return std::clamp(wanted, kNarrowest, limit);
    }

    // Lays the texts out and shares the rows among them.
    void Measure() {
        std::size_t fixed = 2;  // the frame
        if (!dialog_.buttons.empty()) {
            fixed += 1 + ButtonRows(dialog_, width_, canvas_).size();
        }
        for (std::size_t i = 0; i < dialog_.texts.size(); ++i) {
            const DialogText& text = dialog_.texts[i];
            scrolling_ = text.rows > 0 ? i : scrolling_;
            lines_.push_back(
                Wrap(text.text, text.rows > 0 ? width_ - kFieldSides : width_ - indent_));
        }
        for (std::size_t i = 0; i < dialog_.texts.size(); ++i) {
            fixed += i == scrolling_ ? (dialog_.texts[i].rows > 0 ? 2 : 0) : lines_[i].size();
        }
        // One row stays free for the cursor.
        const std::size_t room = canvas_.rows > fixed + 2 ? canvas_.rows - fixed - 1 : 1;
        if (scrolling_ < lines_.size()) {
            const std::size_t all = lines_[scrolling_].size();
            const std::size_t rows = dialog_.texts[scrolling_].rows;
            picture_.scrollPage = std::min(rows > 0 ? rows : all, room);
            picture_.scrollEnd = all > picture_.scrollPage ? all - picture_.scrollPage : 0;
        }
    }

    // Puts a line between the sides of the frame; columns is what it takes, 0 for all.
    void Line(const std::string& text, std::size_t blanks) {
        picture_.lines.push_back("│ " + text + std::string(blanks, ' ') + " │");
    }

    void Top() {
        const std::string mark = dialog_.closeBox ? "[x]" : "";
        std::string title = dialog_.title.substr(0, width_ - 4 - mark.size());
        const std::size_t rest = width_ - title.size() - mark.size() - 1;
        title = Styled(kBold, ToUtf8(Harmless(title)), canvas_.attributes);
        picture_.lines.push_back("┌─ " + title + " " + Repeated("─", rest) + mark + "┐");
    }

    // What stands in front of a text's line: the symbol at the first one.
    [[nodiscard]] std::string Front(bool first) const {
        if (!first) {
            return std::string(indent_, ' ');
        }
        const SymbolLook look = LookOf(dialog_.symbol);
        return Styled(look.colour, look.text, canvas_.colours && !look.text.empty()) +
               std::string(indent_ - look.text.size(), ' ');
    }

    void Text(std::size_t index) {
        const DialogText& text = dialog_.texts[index];
        const bool scrolls = index == scrolling_;
        const std::size_t first = scrolls ? std::min(dialog_.scrolled, picture_.scrollEnd) : 0;
        const std::size_t count = scrolls ? picture_.scrollPage : lines_[index].size();
        if (text.rows > 0) {
            Line("┌" + Repeated("─", width_ - 2) + "┐", 0);
        }
        for (std::size_t row = 0; row < count; ++row) {
            const std::size_t number = first + row;
            const std::string line = number < lines_[index].size() ? lines_[index][number] : "";
            if (text.rows > 0) {
                Line("│ " + ToUtf8(Padded(line, width_ - kFieldSides)) + " " + Bar(row, first), 0);
            } else {
                PlainLine(text, line, Front(index == 0 && number == 0),
                          scrolls && picture_.scrollEnd > 0 ? Bar(row, first) : "");
            }
        }
        if (text.rows > 0) {
            Line("└" + Repeated("─", width_ - 2) + "┘", 0);
        }
    }

    // A line of a text without a field; a bar takes the blank before the frame.
    void PlainLine(const DialogText& text, const std::string& line, const std::string& front,
                   const std::string& bar) {
        const std::size_t room = width_ - indent_;
        const std::size_t left = text.centred ? (room - line.size()) / 2 : 0;
        std::string whole = front + std::string(left, ' ') + ToUtf8(line);
        whole.append(room - left - line.size(), ' ');
        picture_.lines.push_back("│ " + whole + (bar.empty() ? " " : bar) + "│");
    }

    // The scroll bar in that row: its thumb shows which part of the text is seen.
    [[nodiscard]] std::string Bar(std::size_t row, std::size_t first) const {
        const std::size_t page = picture_.scrollPage;
        if (picture_.scrollEnd == 0) {
            return "│";
        }
        const std::size_t thumb =
            std::max<std::size_t>(page * page / (page + picture_.scrollEnd), 1);
        const std::size_t top = (page - thumb) * first / picture_.scrollEnd;
        return row >= top && row < top + thumb ? "█" : "░";
    }

    const Dialog& dialog_;
    const Canvas& canvas_;
    std::size_t indent_;
    std::size_t width_;  // of what is in the frame
    std::size_t scrolling_ = 0;
    std::vector<std::vector<std::string>> lines_;
    Picture picture_;
};

}  // namespace

DialogButton ButtonOf(std::string_view marked) {
    DialogButton button{std::string(marked), 0};
    const std::size_t mark = marked.find('&');
    if (mark != std::string_view::npos) {
        button.label.erase(mark, 1);
        button.access = mark < button.label.size() ? mark : 0;
    }
    return button;
}

std::vector<std::string> Wrap(std::string_view text, std::size_t width) {
    std::vector<std::string> lines;
    for (std::size_t start = 0; start <= text.size();) {
        const std::size_t end = std::min(text.find_first_of("\r\n", start), text.size());
        WrapLine(Harmless(text.substr(start, end - start)), width, lines);
        const bool both = text.substr(end, 2) == "\r\n";
        start = end + (both ? 2 : 1);
    }
    return lines;
}

Picture Draw(const Dialog& dialog, const Canvas& canvas) {
    return Drawing(dialog, canvas).Finish();
}

}  // namespace hosted
