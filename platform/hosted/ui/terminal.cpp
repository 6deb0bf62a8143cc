#include "platform/hosted/ui/terminal.h"

#include <poll.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <string>

#include "platform/hosted/machine.h"

namespace hosted {
namespace {

constexpr std::array kSignals{SIGINT, SIGTERM, SIGHUP, SIGQUIT};
constexpr std::string_view kHideCursor = "\x1b[?25l";
constexpr std::string_view kShowCursor = "\x1b[?25h";
// How long the rest of a key's sequence may take; Escape alone is known after that.
constexpr int kSequenceGap = 25;  // milliseconds
constexpr char kInterrupt = 3;
constexpr char kControlW = 23;

// What a signal handler needs must be reachable without anything: these are all of it.
termios savedMode;
volatile std::sig_atomic_t savedValid = 0;
unsigned rawDepth = 0;
std::array<struct sigaction, kSignals.size()> savedActions;

void PutBack() {
    if (savedValid != 0) {
        savedValid = 0;
        tcsetattr(STDIN_FILENO, TCSANOW, &savedMode);
        if (write(STDOUT_FILENO, kShowCursor.data(), kShowCursor.size()) < 0) {
            return;  // a terminal that is gone needs no cursor
        }
    }
}

extern "C" void OnSignal(int number) {
    PutBack();
    static_cast<void>(std::signal(number, SIG_DFL));
    static_cast<void>(std::raise(number));
}

[[noreturn]] void EndBy(int number) {
    PutBack();
    static_cast<void>(std::signal(number, SIG_DFL));
    static_cast<void>(std::raise(number));
    std::_Exit(128 + number);
}

bool HasInput(int milliseconds) {
    pollfd wait{STDIN_FILENO, POLLIN, 0};
    return poll(&wait, 1, milliseconds) > 0;
}

char ReadByte() {
    char byte = 0;
    for (;;) {
        const ssize_t count = read(STDIN_FILENO, &byte, 1);
        if (count == 1) {
            return byte;
        }
        if (count == 0 || errno != EINTR) {
            EndBy(SIGHUP);
        }
    }
}

// What follows "ESC [" or "ESC O": digits, then the byte that names the key.
std::optional<KeyPress> ReadSequence() {
    std::string digits;
    char last = 0;
    while (HasInput(kSequenceGap)) {
        last = ReadByte();
        if (last >= '@') {
            break;
        }
        digits += last;
    }
    if (last == '~') {
        constexpr std::array kNumbered{
            std::pair{"1", Key::Home}, std::pair{"7", Key::Home},   std::pair{"4", Key::End},
            std::pair{"8", Key::End},  std::pair{"5", Key::PageUp}, std::pair{"6", Key::PageDown},
        };
        for (const auto& [number, key] : kNumbered) {
            if (digits == number) {
                return KeyPress{key};
            }
        }
        return std::nullopt;
    }
    constexpr std::array kLettered{
        std::pair{'A', Key::Up},      std::pair{'B', Key::Down}, std::pair{'C', Key::Right},
        std::pair{'D', Key::Left},    std::pair{'H', Key::Home}, std::pair{'F', Key::End},
        std::pair{'Z', Key::BackTab},
    };
    for (const auto& [letter, key] : kLettered) {
        if (last == letter) {
            return KeyPress{key};
        }
    }
    return std::nullopt;
}

std::optional<KeyPress> ReadCharacter(char lead) {
    std::string utf8(1, lead);
    const auto code = static_cast<unsigned char>(lead);
    const unsigned more = code >= 0xF0 ? 3 : code >= 0xE0 ? 2 : code >= 0xC0 ? 1 : 0;
    while (utf8.size() <= more && HasInput(kSequenceGap)) {
        utf8 += ReadByte();
    }
    const std::string ansi = FromUtf8(utf8);
    if (ansi.size() != 1 || code < ' ' || code == 0x7F) {
        return std::nullopt;
    }
    return KeyPress{Key::Character, ansi.front()};
}

std::optional<KeyPress> ReadAfterEscape() {
    if (!HasInput(kSequenceGap)) {
        return KeyPress{Key::Escape};
    }
    const char next = ReadByte();
    if (next == '[') {
        return ReadSequence();
    }
    // "ESC O" begins a sequence of some keys, but alone it is Alt+O.
    if (next == 'O' && HasInput(kSequenceGap)) {
        return ReadSequence();
    }
    // Alt with a key that is itself a sequence.
    return next == '\x1b' ? ReadAfterEscape() : ReadCharacter(next);
}

bool IsSet(const char* variable) {
    const char* const value = std::getenv(variable);
    return value != nullptr && *value != '\0';
}

}  // namespace

bool HasTerminal() {
    return isatty(STDIN_FILENO) != 0 && isatty(STDOUT_FILENO) != 0;
}

TerminalSize SizeOfTerminal() {
    winsize size{};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0 || size.ws_row == 0) {
        return {80, 24};
    }
    return {size.ws_col, size.ws_row};
}

bool HasEscapeSequences() {
    const char* const kind = std::getenv("TERM");
    return isatty(STDOUT_FILENO) != 0 && kind != nullptr && std::string_view(kind) != "dumb";
}

bool HasColours() {
    return HasEscapeSequences() && !IsSet("NO_COLOR");
}

void WriteTerminal(std::string_view utf8) {
    while (!utf8.empty()) {
        const ssize_t count = write(STDOUT_FILENO, utf8.data(), utf8.size());
        if (count < 0 && errno != EINTR && errno != EAGAIN) {
            return;  // reading will tell that the terminal is gone
        }
        utf8.remove_prefix(count > 0 ? static_cast<std::size_t>(count) : 0);
    }
}

RawMode::RawMode() {
    if (rawDepth++ > 0 || tcgetattr(STDIN_FILENO, &savedMode) != 0) {
        return;
    }
    savedValid = 1;
    // A program that is ended in the middle leaves its automatic objects as they are.
    static const bool atExit = std::atexit(PutBack) == 0;
    static_cast<void>(atExit);
    struct sigaction action {};
    action.sa_handler = OnSignal;
    sigemptyset(&action.sa_mask);
    for (std::size_t i = 0; i < kSignals.size(); ++i) {
        sigaction(kSignals[i], &action, &savedActions[i]);
    }
    termios mode = savedMode;
    mode.c_iflag &= ~static_cast<tcflag_t>(ICRNL | IXON);
    mode.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO | IEXTEN | ISIG);
    mode.c_cc[VMIN] = 1;
    mode.c_cc[VTIME] = 0;
    tcsetattr(STDIN_FILENO, TCSADRAIN, &mode);
    if (HasEscapeSequences()) {
        WriteTerminal(kHideCursor);
    }
}

RawMode::~RawMode() {
    if (--rawDepth > 0 || savedValid == 0) {
        return;
    }
    PutBack();
    for (std::size_t i = 0; i < kSignals.size(); ++i) {
        sigaction(kSignals[i], &savedActions[i], nullptr);
    }
}

std::optional<KeyPress> ReadKey(int milliseconds) {
    if (!HasInput(milliseconds)) {
        return std::nullopt;
    }
    const char byte = ReadByte();
    switch (byte) {
        case kInterrupt:
            EndBy(SIGINT);
        case kControlW:
            return KeyPress{Key::Close};
        case '\t':
            return KeyPress{Key::Tab};
        case '\r':
        case '\n':
            return KeyPress{Key::Enter};
        case '\x1b':
            return ReadAfterEscape();
        default:
            return ReadCharacter(byte);
    }
}

}  // namespace hosted
