#include "platform/hosted/ui/dialog.h"

#include <poll.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <cctype>
#include <csignal>
#include <cstdio>
#include <cstdlib>

namespace hosted {
namespace {

constexpr char kHideCursor[] = "\x1b[?25l";
constexpr std::string_view kShowCursor = "\x1b[?25h";
// How long the rest of a key's sequence may take; Escape alone is known after that.
constexpr int kSequenceGap = 25;  // milliseconds
constexpr int kForever = -1;

// Keys, as the bytes that they send or would send.
constexpr char kNothing = 0;
constexpr char kInterrupt = 3;  // Ctrl-C
constexpr char kNext = '\t';
constexpr char kEnter = '\r';
constexpr char kClose = 23;  // Ctrl-W
constexpr char kEscape = 27;
constexpr char kPrevious = 28;

// What a signal handler needs must be reachable without anything: these are all of it.
termios savedMode;
volatile std::sig_atomic_t isRaw = 0, cursorHidden = 0;

void PutBack() {
    if (isRaw != 0) {
        isRaw = 0;
        tcsetattr(STDIN_FILENO, TCSANOW, &savedMode);
        // A terminal that is gone needs no cursor.
        [[maybe_unused]] const ssize_t count =
            write(STDOUT_FILENO, kShowCursor.data(), cursorHidden != 0 ? kShowCursor.size() : 0);
    }
}

extern "C" void OnEnd(int number) {
    PutBack();
    static_cast<void>(std::signal(number, SIG_DFL));
    static_cast<void>(std::raise(number));
}

[[noreturn]] void EndBy(int number) {
    PutBack();
    static_cast<void>(std::raise(number));
    std::_Exit(128 + number);
}

void CatchSignals() {
    for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) {
        if (std::signal(number, OnEnd) == SIG_IGN) {
            static_cast<void>(std::signal(number, SIG_IGN));
        }
    }
    // Only so that it interrupts the waiting for a key.
    static_cast<void>(std::signal(SIGWINCH, [](int) {}));
}

Screen TheScreen() {
    const char* const kind = std::getenv("TERM");
    const char* const noColour = std::getenv("NO_COLOR");
    const bool escapes = kind != nullptr && std::string_view(kind) != "dumb";
    winsize size{};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0 || size.ws_row == 0) {
        size.ws_col = 80;
        size.ws_row = 24;
    }
    return {size.ws_col, size.ws_row, escapes,
            escapes && (noColour == nullptr || *noColour == '\0')};
}

// Keys arrive one by one and unseen for as long as this lives. The terminal is put back when
// the process ends by a signal, too.
class RawMode {
 public:
    RawMode() {
        CatchSignals();
        if (tcgetattr(STDIN_FILENO, &savedMode) != 0) {
            return;
        }
        isRaw = 1;
        termios mode = savedMode;
        cfmakeraw(&mode);
        tcsetattr(STDIN_FILENO, TCSADRAIN, &mode);
        cursorHidden = TheScreen().attributes ? 1 : 0;
        WriteTerminal(cursorHidden != 0 ? kHideCursor : "");
    }
    ~RawMode() { PutBack(); }
    RawMode(const RawMode&) = delete;
    RawMode& operator=(const RawMode&) = delete;
};

bool HasInput(int milliseconds) {
    pollfd wait{STDIN_FILENO, POLLIN, 0};
    return poll(&wait, 1, milliseconds) > 0;
}

char ReadByte() {
    char byte = 0;
    if (read(STDIN_FILENO, &byte, 1) != 1) {
        EndBy(SIGHUP);
    }
    return byte;
}

// Alt with a letter is that letter; "[" and "O" begin the sequence of a key, if more follows.
char ReadAfterEscape() {
    std::string sequence;
    do {
        if (!HasInput(kSequenceGap)) {
            return sequence.empty() ? kEscape : sequence[0];
        }
        sequence += ReadByte();
        std::erase(sequence, kEscape);  // Alt with a key that is itself a sequence
    } while (sequence.empty() || ((sequence[0] == '[' || sequence[0] == 'O') &&
                                  (sequence.size() == 1 || sequence.back() < '@')));
    switch (sequence.size() > 1 ? sequence.back() : '\0') {
        case 'A':  // up, left, Shift-Tab
        case 'D':
        case 'Z':
            return kPrevious;
        case 'B':  // down, right
        case 'C':
            return kNext;
        default:
            return sequence.size() > 1 ? kNothing : sequence[0];
    }
}

// The next key; nothing when the terminal has changed its size meanwhile.
char ReadKey() {
    if (!HasInput(kForever)) {
        return kNothing;
    }
    const char byte = ReadByte();
    if (byte == kInterrupt) {
        EndBy(SIGINT);
    }
    return byte == kEscape ? ReadAfterEscape() : byte == '\n' ? kEnter : byte;
}

// What the key chooses, as Ask gives it; nothing if it does not.
std::optional<std::size_t> ChosenBy(char key, const Dialog& dialog) {
    const auto upper = [](char letter) { return std::toupper(static_cast<unsigned char>(letter)); };
    if (key == kEnter || key == ' ') {
        return dialog.focus;
    }
    if (key == kEscape || (key == kClose && !dialog.closeBox)) {
        return dialog.escape;
    }
    for (std::size_t i = 0; i < dialog.buttons.size(); ++i) {
        const std::string& label = dialog.buttons[i];
        if (upper(label[label.find('&') + 1]) == upper(key)) {
            return i;
        }
    }
    if (dialog.closeBox && (key == kClose || upper(key) == 'X')) {
        return dialog.buttons.size();
    }
    return std::nullopt;
}

}  // namespace

bool HasTerminal() {
    return isatty(STDIN_FILENO) != 0 && isatty(STDOUT_FILENO) != 0;
}

void WriteTerminal(const std::string& utf8) {
    static_cast<void>(std::fputs(HasTerminal() ? utf8.c_str() : "", stdout));
    static_cast<void>(std::fflush(stdout));  // reading will tell that the terminal is gone
}

void Show(Dialog& dialog) {
    const Screen screen = TheScreen();
    std::vector<std::string> lines = Draw(dialog, screen);
    if (lines == dialog.shown) {
        return;
    }
    std::string output;
    // After a change of size the lines are no longer where they were, and the top of what is
    // higher than the screen cannot be reached.
    if (screen == dialog.screen && screen.attributes && dialog.shown.size() < screen.rows) {
        output = "\x1b[" + std::to_string(dialog.shown.size()) + "A\r\x1b[J";
    }
    for (const std::string& line : lines) {
        output.append(line).append("\r\n");
    }
    WriteTerminal(output);
    dialog.shown = std::move(lines);
    dialog.screen = screen;
}

std::size_t Ask(Dialog& dialog) {
    const RawMode raw;
    const std::size_t count = dialog.buttons.size();
    std::optional<std::size_t> chosen;
    while (!chosen) {
        Show(dialog);
        const char key = ReadKey();
        if (key == kNext || key == kPrevious) {
            dialog.focus = (dialog.focus + (key == kNext ? 1 : count - 1)) % count;
        } else {
            chosen = ChosenBy(key, dialog);
        }
    }
    dialog.focus = *chosen < count ? *chosen : dialog.focus;
    Show(dialog);
    return *chosen;
}

}  // namespace hosted
