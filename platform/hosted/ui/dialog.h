// A message box or a form as the terminal shows it, laid out for a given size. Texts are
// Windows-1252, so that a byte is a column; only the finished lines are UTF-8.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace hosted {

enum class Symbol { None, Stop, Question, Warning, Information };

struct DialogText {
    std::string text;
    bool centred = false;
    std::size_t rows = 0;  // height of a field of its own that scrolls; 0: as many as it takes
};

struct DialogButton {
    std::string label;
    std::size_t access;  // position of the letter that chooses it
};
// "&" marks the letter; without it, it is the first one.
DialogButton ButtonOf(std::string_view marked);

struct Dialog {
    std::string title;
    Symbol symbol = Symbol::None;
    std::vector<DialogText> texts;
    std::vector<DialogButton> buttons;
    std::size_t focus = 0;  // of the buttons
    bool closeBox = false;
    std::size_t scrolled = 0;  // first line that the scrolling text shows
};

struct Canvas {
    std::size_t columns, rows;
    bool attributes = false;  // bold, underlined, reversed
    bool colours = false;
};

struct Picture {
    std::vector<std::string> lines;
    std::size_t scrollPage = 0;  // lines of the scrolling text that are seen at a time
    std::size_t scrollEnd = 0;   // the largest useful Dialog::scrolled
};

// Draws the dialog in a frame that is as large as its texts need and the canvas allows.
// What does not fit scrolls: the field that has rows, otherwise the first text.
Picture Draw(const Dialog& dialog, const Canvas& canvas);

// The lines of a text, none longer than width, broken at blanks where possible. Characters
// that would steer a terminal become a dot.
std::vector<std::string> Wrap(std::string_view text, std::size_t width);

}  // namespace hosted
