// A message box or a form as the terminal shows it. Texts are Windows-1252, so that a byte
// is a column; only the finished lines are UTF-8.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace hosted {

struct DialogText {
    std::string text;
    bool centred = false;
    std::size_t rows = 0;  // at least so many, in a frame of their own; 0: without a frame
};

struct Screen {
    std::size_t columns = 0, rows = 0;
    bool attributes = false;  // it obeys escape sequences: bold, underlined, reversed
    bool colours = false;
    bool operator==(const Screen&) const = default;
};

struct Dialog {
    std::string title;
    std::size_t icon = 0;  // none, stop, question, warning, information
    std::vector<DialogText> texts;
    std::vector<std::string> buttons;   // "&" stands before the letter that chooses it
    std::size_t focus = 0;              // of the buttons
    std::optional<std::size_t> escape;  // the button that Escape chooses
    bool closeBox = false;

    std::vector<std::string> shown;  // the lines that stand on the screen
    Screen screen;                   // which was such when they were written
};

// The lines of the dialog in a frame that is as wide as its texts need and the screen allows.
std::vector<std::string> Draw(const Dialog& dialog, const Screen& screen);

// ---- in the terminal that the program was started in (terminal.cpp) ------------------
// Whether somebody can be asked there: standard input and output are terminals.
bool HasTerminal();
// Where there is one.
void WriteTerminal(const std::string& utf8);

// Where there is one: draws a dialog below what stands there already, or over itself as it was
// shown last; the caller has written nothing since.
void Show(Dialog& dialog);

// Shows the dialog until one of its buttons is chosen, and gives its number; the number of
// buttons for its close box. Ctrl-C ends the process as it does everywhere; so does the end of the
// terminal, because nobody is left who could answer.
std::size_t Ask(Dialog& dialog);

}  // namespace hosted
