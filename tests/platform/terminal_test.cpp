// The program in a terminal: questions asked there, answered by keys, and the terminal left
// as it was found. The terminal is a pseudo one whose other end the test holds.
#include <pty.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>
#include <utmp.h>

#include <algorithm>
#include <csignal>

#include "platform/hosted/descriptor.h"
#include "tests/support/flow.h"

namespace support {
namespace {

// A machine with problems for the completion dialog, whose copy is started in a terminal.
// Whatever it waits for in vain, the time limit of the test ends.
class InTerminal : public testing::Test {
 protected:
    InTerminal() { fixture_.Program(kCopy).Attributes(kEditor, "R"); }

    void Start(const std::string& arguments = CopyArguments(), const char* kind = "xterm") {
        fixture_.Answer({});
        const std::string program = fixture_.HostFolder() + "/drives/C/windows/Temp/UnInstall.exe";
        const winsize size{12, 100, 0, 0};
        int terminal = -1;
        int programs = -1;
        EXPECT_EQ(openpty(&terminal, &programs, nullptr, nullptr, &size), 0);
        tcgetattr(terminal, &before_);  // not when the program may have changed it
        process_ = fork();
        if (process_ == 0) {
            close(terminal);
            login_tty(programs);
            setenv("TERM", kind, 1);
            execl(program.c_str(), program.c_str(), arguments.c_str(), nullptr);
            _exit(127);
        }
        close(programs);
        terminal_ = hosted::Descriptor(terminal);
        output_.clear();
        seen_ = 0;
    }
    // Waits until the text has been written, after all that was awaited before.
    void Await(const std::string& text) {
        std::size_t found = output_.find(text, seen_);
        for (; found == std::string::npos; found = output_.find(text, seen_)) {
            ASSERT_TRUE(Read()) << text << "\n" << output_;
        }
        seen_ = found + text.size();
    }
    void Press(const std::string& keys) const {
        ASSERT_EQ(write(terminal_.Get(), keys.data(), keys.size()),
                  static_cast<ssize_t>(keys.size()));
    }
    // Whether keys arrive otherwise than before the program was started.
    [[nodiscard]] bool IsChanged() const {
        termios mode{};
        tcgetattr(terminal_.Get(), &mode);
        return mode.c_lflag != before_.c_lflag || mode.c_iflag != before_.c_iflag;
    }
    // The signal that has ended it.
    int Wait() {
        while (terminal_ && Read()) {
        }
        int status = 0;
        waitpid(process_, &status, 0);
        return WIFSIGNALED(status) ? WTERMSIG(status) : 0;
    }
    // False at the end: nobody has the terminal open any more.
    bool Read() {
        std::string part(4096, '\0');
        const ssize_t count = read(terminal_.Get(), part.data(), part.size());
        output_.append(part, 0, count > 0 ? static_cast<std::size_t>(count) : 0);
        return count > 0;
    }

    Fixture fixture_;
    hosted::Descriptor terminal_;
    termios before_{};
    pid_t process_ = -1;
    std::string output_;
    std::size_t seen_ = 0;
};

TEST_F(InTerminal, QuestionsAreAnsweredByKeys) {
    Start();
    Await("Bitte warten Sie.");
    Await("[ \x1b[4mJ");  // "Ja" has the focus
    Press("ö\x1b[C");     // no answer to Yes or No, and to the right
    Await("[ \x1b[4mN");
    EXPECT_TRUE(IsChanged());
    Press("\r");
    Await("Windows-Integrationseinstellungen");
    Press("N");
    // The whole list, higher than the screen.
    Await("Folgende Probleme sind aufgetreten:");
    Await("Das Verzeichnis");
    Await("[ \x1b[4mO");
    Press("x");
    EXPECT_EQ(Wait(), 0);
    EXPECT_FALSE(IsChanged());
    EXPECT_EQ(fixture_.Shown(),
              (Lines{Progress(), FolderNotEmpty(kProgramFolder, "No"), ResetQuestion("No"),
                     Problems({NotDeleted("Die Datei", kEditor),
                               NotDeleted("Das Verzeichnis", kProgramFolder)},
                              "close")}));
}

// Whoever ends the program at a question has answered nothing.
TEST_F(InTerminal, EndingTheProgramAtAQuestionRemovesNoMore) {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        SCOPED_TRACE(signal);
        Start();
        Await("[ \x1b[4mJ");
        if (signal == SIGINT) {
            Press("\x03");
        } else if (signal == SIGTERM) {
            kill(process_, SIGTERM);
        } else {
            terminal_.Close();
        }
        EXPECT_EQ(Wait(), signal);
        EXPECT_TRUE(signal == SIGHUP || !IsChanged());
        EXPECT_EQ(fixture_.Shown(), Lines{Progress()});
        EXPECT_TRUE(fixture_.Look().files.contains(kEditor));
    }
}

// Nothing in a text steers the terminal.
TEST_F(InTerminal, TextsAreHarmless) {
    Start("C:\\ohne\\jedes\\Leerzeichen\\\x1b[2J\a\xc2\x9d\tBüro \n", "dumb");
    Await("[ OK ]");
    Press("o");
    EXPECT_EQ(Wait(), 0);
    EXPECT_EQ(output_.find("\xc2\x9d"), std::string::npos);
    EXPECT_TRUE(std::all_of(output_.begin(), output_.end(), [](unsigned char byte) {
        return byte >= ' ' || byte == '\r' || byte == '\n';
    }));
}

TEST(WithoutATerminal, QuestionsWithoutAnswerHaveAnEnd) {
    Fixture fixture;
    fixture.Setting("faults", "first OpenFile * *=32");
    const Outcome outcome = fixture.RunFirst({});
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.shown.size(), 1001U);
}

}  // namespace
}  // namespace support
