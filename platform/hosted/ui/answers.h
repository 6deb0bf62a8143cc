// What a run asks and shows: the answers that answers.txt has for it, and the record of it
// in transcript.txt.
//
// Each line of answers.txt is for one question, a message box or a window that waits for
// the user: it is taken off the top by the process that asks. Letter case does not matter.
//
//   yes no ok abort retry ignore cancel    a button of the box
//   ok click alt+o, close alt+f4           the button, the close box of a window
//   enter (or an empty line), escape       these keys
//   fail                                   the box cannot be shown: MessageBoxA gives 0
//   =99                                    MessageBoxA gives this number
//   wait                                   the question stays until the file is replaced by
//                                          one whose first line says something else (put it
//                                          there by renaming: the file is read at any time)
//
// A word that does not fit the question is noted in the log, and the default taken.
//
// Each line of transcript.txt is one event, its fields separated by tabs:
//
//   box      role style caption text answer   style in decimal, answer as above
//   misfit   role answer                      an answer that the next box or event refused
//   waiting  role                             a question found "wait" in answers.txt
//   load     role form
//   show     role form title
//   text     role form control text           labels and text boxes, when they are shown
//   event    role form click|close|timer
//   unload   role form
//   beep     role type
#pragma once

#include <chrono>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>

namespace hosted {

// One line of transcript.txt; fields are Windows-1252. Backslash, tab, carriage return and
// line feed inside them become \\, \t, \r and \n.
void Record(std::string_view event, std::initializer_list<std::string_view> fields);
// One line of log.txt, Windows-1252.
void Note(std::string_view text);

// A question that the answers may have a line for.
class Question {
 public:
    enum class State {
        Open,      // answers.txt has no line
        Waiting,   // its line says "wait"; a few real milliseconds have passed
        Answered,  // its line has been taken
    };
    // Looks once. After a minute of waiting the answer is "enter".
    State Look();
    // The answer, in lower case.
    [[nodiscard]] const std::string& Answer() const { return answer_; }
    // Says that the question has no use for the answer; that is what it has.
    void Refuse(std::string_view possible) const;

 private:
    std::string answer_;
    std::optional<std::chrono::steady_clock::time_point> waitingSince_;
};

}  // namespace hosted
