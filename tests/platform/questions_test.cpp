// Questions in the sandbox: asked as text, answered by a line, and never without an end.
#include <sys/wait.h>

#include <cstdlib>

#include "tests/support/flow.h"

namespace support {
namespace {

// Starts the copy with these lines as its input; gives what it has printed.
std::string Printed(const Fixture& fixture, const std::string& input,
                    const std::string& arguments = CopyArguments()) {
    const std::string folder = fixture.HostFolder();
    WriteBytes(folder + "/input", input);
    const std::string program = folder + "/drives/C/windows/Temp/UnInstall.exe";
    const std::string command =
        program + " '" + arguments + "' <" + folder + "/input >" + folder + "/output";
    EXPECT_EQ(std::system(command.c_str()), 0);
    return ReadBytes(folder + "/output");
}

Lines Kept(const std::string& way) {
    return {Problems(
        {NotDeleted("Die Datei", kEditor), NotDeleted("Das Verzeichnis", kProgramFolder)}, way)};
}

class Questions : public testing::Test {
 protected:
    Questions() { fixture_.Program(kCopy).Attributes(kEditor, "R"); }
    Fixture fixture_;
};

// Windows that can be closed and one that cannot, the marked default, an answer by letter, one by
// word, and the end of the input.
TEST_F(Questions, ArePlainTextAndAnsweredByALine) {
    fixture_.Answer({});
    const std::string printed = Printed(fixture_, "N\nnein\n");
    EXPECT_TRUE(printed.starts_with("\n== UnInstaller ==\n")) << printed;
    EXPECT_NE(printed.find("\n== UnInstaller ==\n[?] "), std::string::npos) << printed;
    EXPECT_NE(printed.find("\n*Ja  Nein  > \n"), std::string::npos) << printed;
    EXPECT_NE(printed.find("\n== UnInstaller == [x]\n"), std::string::npos) << printed;
    EXPECT_TRUE(printed.ends_with("\n*OK  x  > \n")) << printed;
    EXPECT_EQ(fixture_.Shown(),
              (Lines{Progress(), FolderNotEmpty(kProgramFolder, "No"), ResetQuestion("No")} +
               Kept("click")));
}

// answers.txt comes first, then the input; what fits no button is the default.
TEST_F(Questions, HaveOneSourceOfAnswersAfterTheOther) {
    fixture_.Answer({"no", "vielleicht"});
    Printed(fixture_, "x\n");
    EXPECT_EQ(fixture_.Shown(),
              (Lines{Progress(), FolderNotEmpty(kProgramFolder, "No"),
                     "an answer that does not fit: vielleicht", ResetQuestion("Yes")} +
               Kept("close")));
}

TEST_F(Questions, PrintNothingThatSteersATerminal) {
    fixture_.Answer({});
    const std::string printed = Printed(fixture_, "", "/u=C:\\\x1b[2J\a\xc2\x9d\tB\xc3\xbcro");
    EXPECT_NE(printed.find("C:\\?[2J???B\xc3\xbcro"), std::string::npos) << printed;
}

TEST_F(Questions, WithoutAnAnswerHaveAnEnd) {
    fixture_.Setting("faults", "first OpenFile * *=32");
    const Outcome outcome = fixture_.RunFirst({});
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.shown.size(), 1000U);
}

}  // namespace
}  // namespace support
