// What the flow tests have in common: what a run is expected to show and to change.
//
// What is shown are lines that compare and read well:
//
//   [?] *Yes No -> Yes: text             a message box: icon (x stop, ! warning, ? question,
//                                        i information), buttons, * the default, the answer
//   frmUnInstProc: text                  a window with its labels and text boxes
//   frmUnInstDone -> close: one | two    the same, and how it was left (click, close)
//
// In the texts "\n" stands for CR LF, "\l" for a lone LF, "\t" for a tab; a backslash for
// itself.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "tests/support/machine.h"

namespace support {

using Lines = std::vector<std::string>;

// The parts of a text between "|".
Lines Split(const std::string& text);

// The whole difference that a complete removal with a reset of the shell's settings makes
// to the staged machine.
Lines CompleteRemoval();
// Parts of it: what the reset makes, all but that, and that without the program folder.
Lines ShellReset();
Lines WithoutReset();
Lines TheRest();
// Lists of differences: one with more lines, one without the lines that contain a part.
// There must be such lines.
Lines With(Lines lines, const Lines& more);
Lines Without(Lines lines, std::string_view part);
Lines Without(Lines lines, const Lines& others);

// A text of the program's in tests/stage/messages.txt, with these values.
std::string Text(const std::string& name, const Lines& values = {});
// A text with its control characters as above.
std::string Readable(const std::string& text);

// A message box by all that follows its icon, which is a blank where it cannot be told.
std::string Box(char icon, const std::string& asked);
inline std::string Confirmation(const std::string& answer = "Yes") {
    return Text("confirmation", {answer});
}
inline std::string InUse(const std::string& answer) {
    return Text("in use", {answer});
}
inline std::string FolderNotEmpty(const std::string& folder, const std::string& answer = "Yes") {
    return Text("folder", {answer, folder});
}
inline std::string ResetQuestion(const std::string& answer = "Yes") {
    return Text("reset", {answer});
}
inline std::string Success() {
    return Text("success");
}
inline std::string Progress() {
    return Text("progress");
}
inline std::string UnknownArgument(const std::string& arguments) {
    return Text("argument", {arguments});
}
// A line of the completion dialog.
inline std::string NotDeleted(const std::string& what, const std::string& name) {
    return what + " \"" + name + "\" konnte nicht gelöscht werden.";
}
// The completion dialog with these lines, closed that way.
std::string Problems(const Lines& problems, const std::string& way = "click");
// All that the copy shows when it removes everything but for these problems.
Lines CopyShows(const Lines& problems = {}, const std::string& reset = "Yes");
// The same of the whole hand-over.
inline Lines RunShows(const Lines& problems = {}) {
    return With({Confirmation()}, CopyShows(problems));
}
// The report of an unexpected failure: its message, with the part of the identifier that
// tells the place, and the box that asks whether to copy it.
inline std::string FatalMessage(const std::string& description, const std::string& place) {
    return Text("fatal", {description, place});
}
inline std::string Fatal(const std::string& message, const std::string& answer) {
    return Text("fatal box", {answer, message});
}
// A fault: the drive is not ready when the removal looks for the editor's file, in the wait and
// at last; and the message of it.
inline const std::string kUnreadyDrive = "copy FindFirstFileA * " + kEditor + "=21";
inline std::string UnreadyDrive() {
    return FatalMessage(Text("unready drive", {kEditor}), "6:1:71");
}

// Two lists of differences hold the same lines in any order.
void ExpectChanges(Lines expected, Lines actual);

// Compares everything a run did: its exit status, what was shown, the whole difference, and
// nothing on stderr.
void ExpectOutcome(const Outcome& outcome, const Lines& shown, const Lines& difference,
                   int status = 0);
// A run that ended with a text in the last of so many windows.
void ExpectEnd(const Outcome& outcome, const std::string& text, const Lines& difference = {},
               int status = 1, std::size_t windows = 2);

}  // namespace support
