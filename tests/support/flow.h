// The words in which a test is written. A test stages a computer, runs the real program on it
// and compares everything that was shown and everything that has changed:
//
//     TEST(Removal, LeavesAnEditorThatIsReadOnly) {
//         Fixture fixture;                        // Tessorin is installed on it
//         fixture.Attributes(kEditor, "R");       // what is special about it (fixture.h)
//         ExpectFinished(fixture.RunCopy({}),     // run; answers to the questions in order, a
//                                                 // question without one gets its default
//                        CopyShows(Problems({NotDeleted("Die Datei", kEditor)})),
//                        Removal().Keeps("\\Uninstall\\").Also("- file C:\\x"));
//     }
//
// A run is the whole hand-over (RunFirst) or the relaunched copy alone (RunCopy). ExpectFinished
// is for a run that came to its end, ExpectBrokenOff for one that a report has ended. Both compare
// all of it: a box or a change that is not expected fails the test. Texts of the program stand
// in tests/stage/messages.txt, the changes of a whole removal in tests/stage/removal.txt.
//
// What is shown are lines that compare and read well:
//
//   [?] *Yes No -> Yes: text             a message box: icon (x stop, ! warning, ? question,
//                                        i information), buttons, * the default, the answer
//   frmUnInstProc: text                  a window with its labels and text boxes
//   frmUnInstDone -> close: one | two    the same, and how it was left (click, close)
//
// In the texts "\n" stands for CR LF, "\l" for a lone LF, "\t" for a tab; a backslash for
// itself. Changes are lines as well (state.h): "- file C:\x", "~ value KEY\name: old -> new".
//
// Where a platform call has to fail, fixture.Fault names it: "copy CopyFileA 1 C:\x=5" is the
// first call of that function with that argument, in the copy. Such a test begins with
// NEEDS_FAULTS(), because a real Windows does not take orders. Before a test is done it must
// have been seen failing: break the program and run it once.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "platform/win32.h"
#include "tests/support/fixture.h"

namespace support {

using Lines = std::vector<std::string>;

// The parts of a text between "|".
Lines Split(const std::string& text);
Lines operator+(Lines lines, const Lines& more);

// What a run changes: all that a removal does to the staged computer, with the shell's settings
// reset.
class Removal {
 public:
    Removal();
    // Without the lines that contain this; there must be some.
    [[nodiscard]] Removal Keeps(std::string_view part) const;
    [[nodiscard]] Removal Keeps(const Lines& parts) const;
    [[nodiscard]] Removal Also(const std::string& line) const { return Also(Lines{line}); }
    [[nodiscard]] Removal Also(const Lines& lines) const;
    // The user did not want the shell's settings reset.
    [[nodiscard]] Removal WithoutReset() const;
    // The same for a product in another folder, which no shell setting names.
    [[nodiscard]] Removal From(const std::string& folder) const;

    operator Lines() const { return lines_; }  // NOLINT(google-explicit-constructor): is a list

 private:
    Lines lines_;
};

// A text of the program's in tests/stage/messages.txt, with these values.
std::string Text(const std::string& name, const Lines& values = {});
// A text with its control characters as above.
std::string Readable(const std::string& text);
// A message box by all that follows its icon, which is a blank where it cannot be told.
std::string Box(char icon, const std::string& asked);

// ---- what is shown ---------------------------------------------------------------------
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
// All that is shown when nothing special happens before the end: by the copy, by a whole run.
Lines CopyShows(const std::string& end);
Lines RunShows(const std::string& end);
// The report of an unexpected failure: its message, and the box that asks whether to copy it.
// The place is "procedure:place:number".
std::string FatalMessage(const std::string& description, const std::string& place);
std::string Fatal(const std::string& description, const std::string& place,
                  const std::string& answer);
// What the system says about an error, as the program appends it to a text. The test must have
// entered a fixture. And the description of a failure with it, as a fatal report shows it.
std::string SystemText(DWORD code);
std::string Description(const std::string& meaning, const std::string& object, DWORD code);
// A fault: the drive is not ready when the removal looks for the editor's file, in the wait and
// at last; and the report of it.
inline const std::string kUnreadyDrive = "copy FindFirstFileA * " + kEditor + "=21";
inline std::string UnreadyDrive(const std::string& answer) {
    return Fatal(Text("unready drive", {kEditor}), "6:1:71", answer);
}

// ---- expectations ----------------------------------------------------------------------
void ExpectFinished(const Outcome& outcome, const Lines& shown, const Lines& changes);
void ExpectBrokenOff(const Outcome& outcome, const Lines& shown, const Lines& changes);
// Two lists of changes hold the same lines in any order.
void ExpectChanges(Lines expected, Lines actual);

}  // namespace support
