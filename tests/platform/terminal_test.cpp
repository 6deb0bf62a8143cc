// The program in a terminal: questions asked there, answered by keys, and the terminal left
// as it was found. The terminal is a pseudo one whose other end the test holds.
#include <poll.h>
#include <pty.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>
#include <utmp.h>

#include <chrono>
#include <csignal>
#include <thread>

#include "platform/hosted/descriptor.h"
#include "platform/hosted/dialog.h"
#include "tests/support/flow.h"

namespace support {
namespace {

using Clock = std::chrono::steady_clock;
constexpr auto kPatience = std::chrono::seconds(10);
const std::string kEnter = "\r";
const std::string kEscape = "\x1b";
const std::string kRight = "\x1b[C";
const std::string kPageDown = "\x1b[6~";
const std::string kNotEmpty = "ist nicht leer";

// The relaunched copy of a machine, started in a terminal.
class TerminalRun {
 public:
    explicit TerminalRun(Machine& machine) {
        machine.Begin({});
        const std::string program = machine.HostFolder() + "/drives/C/windows/Temp/UnInstall.exe";
        const std::string arguments = CopyArguments();
        const winsize size{30, 100, 0, 0};
        int terminal = -1;
        int programs = -1;
        EXPECT_EQ(openpty(&terminal, &programs, nullptr, nullptr, &size), 0);
        tcgetattr(terminal, &before_);  // not when the program may have changed it
        process_ = fork();
        if (process_ == 0) {
            close(terminal);
            login_tty(programs);
            setenv("TERM", "xterm", 1);
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
        const Clock::time_point start = Clock::now();
        std::size_t found = output_.find(text, seen_);
        for (; found == std::string::npos; found = output_.find(text, seen_)) {
            ASSERT_LT(Clock::now() - start, kPatience) << text << "\n" << output_;
            Read();
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
    // The status as waitpid gives it; -1 if it does not end.
    int Wait() {
        int status = -1;
        const Clock::time_point start = Clock::now();
        while (waitpid(process_, &status, WNOHANG) == 0) {
            if (Clock::now() - start > kPatience) {
                return -1;
            }
            Read();
        }
        process_ = -1;
        return status;
    }

 private:
    void Read() {
        pollfd wait{terminal_.Get(), POLLIN, 0};
        std::string part(4096, '\0');
        if (poll(&wait, 1, 5) > 0) {
            const ssize_t count = read(terminal_.Get(), part.data(), part.size());
            output_.append(part, 0, count > 0 ? static_cast<std::size_t>(count) : 0);
        }
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
    run.Await(kNotEmpty);
    run.Press("ö" + kEscape);  // neither is an answer to Yes or No
    std::this_thread::sleep_for(std::chrono::milliseconds(100));  // no key of Alt
    run.Press(kRight);
    run.Await("[ \x1b[4mN");  // the other button has the focus
    EXPECT_TRUE(run.IsChanged());
    run.Press(kEnter);
    run.Await("Windows-Integrationseinstellungen");
    run.Press("N");
    run.Await("Folgende Probleme sind aufgetreten:");
    run.Press(kPageDown + "x");
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
        run.Await(kNotEmpty);
        end.perform(run);
        const int status = run.Wait();
        EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == end.signal) << status;
        EXPECT_TRUE(end.signal == SIGHUP || !run.IsChanged());
        EXPECT_EQ(machine_.Shown(), Lines{Progress()});
        EXPECT_TRUE(machine_.Look().files.contains(kTessorin));
    }
}

// Whatever the texts hold and however small the terminal is, the frame stays whole, and
// nothing in a text steers the terminal.
TEST(Dialog, FitsEveryTerminal) {
    hosted::Dialog dialog;
    dialog.title = "Ein Titel, der in einen kleinen Rahmen nicht hineinpasst";
    dialog.symbol = hosted::Symbol::Question;
    dialog.texts = {
        {"kurz\r\nC:\\ohne\\jedes\\Leerzeichen\\das\\den\\Umbruch\\erlaubte \x1b[2J\a\x9d"},
        {"\tmit Tabulator\n\n", true},
        {std::string(300, 'x') + "\r\nletzte Zeile", false, 10}};
    for (const char* label : {"&Abbrechen", "Wieder&holen", "&Ignorieren"}) {
        dialog.buttons.push_back(hosted::ButtonOf(label));
    }
    for (std::size_t columns = 19; columns <= 90; ++columns) {
        for (const std::size_t rows : {5U, 20U, 24U, 60U}) {
            SCOPED_TRACE(std::to_string(columns) + " x " + std::to_string(rows));
            dialog.scrolled = 1000;
            const hosted::Picture picture = Draw(dialog, {columns, rows});
            std::string all;
            std::size_t width = 0;
            for (const std::string& line : picture.lines) {
                std::size_t characters = 0;
                for (const char byte : line) {
                    characters += (static_cast<unsigned char>(byte) & 0xC0) != 0x80 ? 1 : 0;
                    EXPECT_TRUE(static_cast<unsigned char>(byte) >= ' ');
                }
                width = width == 0 ? characters : width;
                EXPECT_EQ(characters, width) << line;
                all += line;
            }
            EXPECT_LE(width, columns);
            EXPECT_TRUE(picture.lines.size() < rows || picture.scrollPage == 1);
            EXPECT_NE(all.find("Zeile"), std::string::npos);  // scrolled to the end
        }
    }
}

}  // namespace
}  // namespace support
