// The program in a terminal: questions asked there, answered by keys, and the terminal left
// as it was found. The terminal is a pseudo one whose other end the test holds.
#include <pty.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>
#include <utmp.h>

#include <algorithm>
#include <csignal>
#include <sstream>

#include "platform/hosted/descriptor.h"
#include "tests/support/flow.h"

namespace support {
namespace {

// The relaunched copy of a machine, started in a terminal. Whatever it waits for in vain, the
// time limit of the test ends.
class TerminalRun {
 public:
    explicit TerminalRun(Machine& machine, const std::string& arguments = CopyArguments(),
                         const char* kind = "xterm", std::uint16_t columns = 100) {
        machine.Begin({});
        const std::string program = machine.HostFolder() + "/drives/C/windows/Temp/UnInstall.exe";
        const winsize size{12, columns, 0, 0};
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
    }
    ~TerminalRun() {
        if (process_ > 0) {
            kill(process_, SIGKILL);
            waitpid(process_, nullptr, 0);
        }
    }
    TerminalRun(const TerminalRun&) = delete;
    TerminalRun& operator=(const TerminalRun&) = delete;

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
    void CloseTerminal() { terminal_.Close(); }
    void Send(int signal) const { kill(process_, signal); }
    // The status as waitpid gives it.
    int Wait() {
        while (terminal_ && Read()) {
        }
        int status = 0;
        waitpid(process_, &status, 0);
        process_ = -1;
        return status;
    }
    [[nodiscard]] const std::string& Output() const { return output_; }

 private:
    // False at the end: nobody has the terminal open any more.
    bool Read() {
        std::string part(4096, '\0');
        const ssize_t count = read(terminal_.Get(), part.data(), part.size());
        output_.append(part, 0, count > 0 ? static_cast<std::size_t>(count) : 0);
        return count > 0;
    }

    hosted::Descriptor terminal_;
    termios before_{};
    pid_t process_ = -1;
    std::string output_;
    std::size_t seen_ = 0;
};

// A machine with the copy in its place, and problems for the completion dialog.
class InTerminal : public testing::Test {
 protected:
    InTerminal() { machine_.Program(kTempFolder + "\\UnInstall.exe").Attributes(kTessorin, "R"); }
    const std::string kTessorin = kProgramFolder + "\\Tessorin.exe";
    Machine machine_;
};

TEST_F(InTerminal, QuestionsAreAnsweredByKeys) {
    TerminalRun run(machine_);
    run.Await("Bitte warten Sie.");
    run.Await("[ \x1b[4mJ");  // "Ja" has the focus
    run.Press("ö\x1b[C");     // no answer to Yes or No, and to the right
    run.Await("[ \x1b[4mN");
    EXPECT_TRUE(run.IsChanged());
    run.Press("\r");
    run.Await("Windows-Integrationseinstellungen");
    run.Press("N");
    // The whole list, higher than the screen.
    run.Await("Folgende Probleme sind aufgetreten:");
    run.Await("Das Verzeichnis");
    run.Await("[ \x1b[4mO");
    run.Press("x");
    EXPECT_EQ(run.Wait(), 0);
    EXPECT_FALSE(run.IsChanged());
    EXPECT_EQ(machine_.Shown(),
              (Lines{Progress(), FolderNotEmpty(kProgramFolder, "No"), ResetQuestion("No"),
                     Problems({"Die Datei \"" + kTessorin + "\" konnte nicht gelöscht werden.",
                               "Das Verzeichnis \"" + kProgramFolder +
                                   "\" konnte nicht gelöscht werden."},
                              "close")}));
}

// Whoever ends the program at a question has answered nothing.
TEST_F(InTerminal, EndingTheProgramAtAQuestionRemovesNoMore) {
    struct End {
        const char* how;
        void (*perform)(TerminalRun& run);
        int signal;
    };
    const std::vector<End> ends{
        {"Ctrl-C", [](TerminalRun& run) { run.Press("\x03"); }, SIGINT},
        {"kill", [](TerminalRun& run) { run.Send(SIGTERM); }, SIGTERM},
        {"closed", [](TerminalRun& run) { run.CloseTerminal(); }, SIGHUP},
    };
    for (const End& end : ends) {
        SCOPED_TRACE(end.how);
        TerminalRun run(machine_);
        run.Await("[ \x1b[4mJ");
        end.perform(run);
        const int status = run.Wait();
        EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == end.signal) << status;
        EXPECT_TRUE(end.signal == SIGHUP || !run.IsChanged());
        EXPECT_EQ(machine_.Shown(), Lines{Progress()});
        EXPECT_TRUE(machine_.Look().files.contains(kTessorin));
    }
}

TEST(WithoutATerminal, QuestionsWithoutAnswerHaveAnEnd) {
    Machine machine;
    machine.Setting("faults", "first OpenFile * *=32");
    const Outcome outcome = machine.RunFirst({});
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.shown.size(), 1001U);
}

// Whatever a text holds and however narrow the terminal is, the frame stays whole, and nothing
// in the text steers the terminal.
TEST_F(InTerminal, FramesAreWholeAndHarmless) {
    for (const std::uint16_t columns : std::vector<std::uint16_t>{19, 40, 300}) {
        SCOPED_TRACE(columns);
        TerminalRun run(machine_, "C:\\ohne\\jedes\\Leerzeichen\\\x1b[2J\a\xc2\x9d\tBüro \n",
                        "dumb", columns);
        run.Await("[ OK ]");
        run.Press("o");
        EXPECT_EQ(run.Wait(), 0);
        std::size_t width = 0;
        std::istringstream lines(run.Output());
        for (std::string line; std::getline(lines, line);) {
            line.resize(line.find('\r'));
            EXPECT_TRUE(std::all_of(line.begin(), line.end(),
                                    [](unsigned char byte) { return byte >= ' '; }));
            const std::size_t characters =
                static_cast<std::size_t>(std::count_if(line.begin(), line.end(), [](char byte) {
                    return (static_cast<unsigned char>(byte) & 0xC0U) != 0x80U;
                }));
            width = width == 0 ? characters : width;
            EXPECT_EQ(characters, width) << line;
        }
        EXPECT_LE(width, columns);
        EXPECT_EQ(run.Output().find("\xc2\x9d"), std::string::npos);
    }
}

}  // namespace
}  // namespace support
