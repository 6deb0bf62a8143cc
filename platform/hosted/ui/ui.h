// What a run asks and shows: the answers that answers.txt has for it, and the record of it
// in transcript.txt.
//
// Each line of answers.txt is for one question, a message box or a window that waits for
// the user: it is taken off the top by the process that asks. Letter case does not matter.
//
//   yes no ok abort retry ignore cancel    a button of the box
//   ok click alt+o, close alt+f4           the button, the close box of a window
//   enter (or an empty line), escape       these keys
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
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/hosted/machine.h"

namespace hosted {

// One line of transcript.txt; fields are Windows-1252. Backslash, tab, carriage return and
// line feed inside them become \\, \t, \r and \n.
void Record(std::string_view event, std::initializer_list<std::string_view> fields);

// The answer to the question that is asked now, in lower case; nothing if there is none left.
std::optional<std::string> TakeAnswer();

// What this folder remembers about the machine.
struct UiState {
    std::vector<struct Window*> windows;  // of all loaded forms, the one shown last at the end
    bool ownerWindow = false;             // the hidden one has been made

    std::string unanswered;  // the last question that nobody answered, and how often
    unsigned times = 0;

    struct Clipboard {
        bool open = false;
        HWND opener = nullptr;  // whom EmptyClipboard makes its owner
        HWND owner = nullptr;
        std::shared_ptr<void> memory;
    } clipboard;
};
UiState& Ui();

}  // namespace hosted
