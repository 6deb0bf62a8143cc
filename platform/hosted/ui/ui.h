// What a run asks and shows: the questions with their answers, and the record of it in
// transcript.txt.
//
// Each answer is a line: of answers.txt, where it is taken off the top by the process that asks,
// and when that has none left, of the standard input. It is the word of a button ("yes", "Ja"),
// its first letter, or empty for the default, in any letter case; tests have a few more words.
//
//   yes no ok abort retry ignore cancel    a button of the box
//   ok click alt+o, close alt+f4           the button, the close box of a window
//   enter, escape                          these keys
//
// Each line of transcript.txt is one event, its fields separated by tabs:
//
//   box      role look caption text answer    look: "[?] *Yes No", icon (x ? ! i), buttons, and
//                                             * before the default
//   misfit   role answer                      one that the next box or event had no use for;
//                                             it got the default
//   show     role form title
//   text     role form control text           labels and text boxes, when they are shown
//   event    role form click|close|timer
//   unload   role form
//   beep     role type
//   notify   role event flags                 the shell was told to read its settings again
#pragma once

#include <initializer_list>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "platform/hosted/call.h"

namespace hosted {

// One line of transcript.txt; fields are Windows-1252. Backslash, tab, carriage return and
// line feed inside them become \\, \t, \r and \n.
void Record(std::string_view event, std::initializer_list<std::string_view> fields);

// Prints a Windows-1252 text. Nothing in it steers a terminal.
void Print(std::string_view text);

struct Choice {
    std::string_view words;  // that choose it, with blanks between; the first is its name
    std::string_view label;  // as a German Windows has it
};
using Choices = std::vector<Choice>;
// Prints the choices, the default with a "*", and takes an answer. One that is none of them counts
// as the default; somebody at a terminal is asked again. So is the default taken when there is no
// answer left.
std::size_t Ask(const Choices& choices, std::size_t byDefault);

// What this folder remembers about the sandbox.
struct UiState {
    std::vector<struct Window*> windows;  // of all loaded forms, the one shown last at the end
    std::set<HWND> others;                // made by CreateWindowExA
    unsigned unanswered = 0;              // questions

    struct Clipboard {
        bool open = false;
        HWND opener = nullptr;  // whom EmptyClipboard makes its owner
        HWND owner = nullptr;
        std::shared_ptr<void> memory;
    } clipboard;
};
inline UiState& Ui() {
    return StateIn(Sandbox::Current().ui);
}

}  // namespace hosted
