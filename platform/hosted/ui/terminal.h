// The terminal that the program was started in: keys, size, styles.
#pragma once

#include <optional>
#include <string_view>

namespace hosted {

enum class Key {
    Character,
    Enter,
    Escape,
    Tab,
    BackTab,
    Left,
    Right,
    Up,
    Down,
    PageUp,
    PageDown,
    Home,
    End,
    Close,  // Ctrl-W
};

struct KeyPress {
    Key key;
    char character = 0;  // of Key::Character: Windows-1252, with Alt or without
};

struct TerminalSize {
    unsigned columns, rows;
    bool operator==(const TerminalSize&) const = default;
};

// Whether somebody can be asked there: standard input and output are terminals.
bool HasTerminal();
TerminalSize SizeOfTerminal();
// Whether it obeys escape sequences, and whether it may show colours (NO_COLOR forbids them).
bool HasEscapeSequences();
bool HasColours();
void WriteTerminal(std::string_view utf8);

// Keys arrive one by one and unseen for as long as this lives. May be nested. The terminal is
// put back when the process ends by a signal, too.
class RawMode {
 public:
    RawMode();
    ~RawMode();
    RawMode(const RawMode&) = delete;
    RawMode& operator=(const RawMode&) = delete;
};

// The next key within so many milliseconds of real time. In raw mode only. Ctrl-C ends the
// process as it does everywhere; so does the end of the terminal, because nobody is left
// who could answer.
std::optional<KeyPress> ReadKey(int milliseconds);

}  // namespace hosted
