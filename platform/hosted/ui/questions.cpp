// Questions: printed, answered by a line, recorded.
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <optional>
#include <sstream>

#include "platform/hosted/ui/ui.h"

namespace hosted {
namespace {

constexpr const char* kFile = "answers.txt";
constexpr unsigned kMostUnanswered = 1000;

// Byte by byte: what comes after the line is for another process.
std::optional<std::string> LineOfInput() {
    std::string line;
    char byte = 0;
    bool any = false;
    while (read(STDIN_FILENO, &byte, 1) == 1) {
        any = true;
        if (byte == '\n') {
            break;
        }
        line += byte;
    }
    return any ? std::optional(line) : std::nullopt;
}

// The answer to the question that is asked now; nothing if there is none left.
std::optional<std::string> TakeAnswer() {
    const std::string answers = Sandbox::Current().Read(kFile);
    if (answers.empty()) {
        return LineOfInput();
    }
    const std::size_t end = std::min(answers.find('\n'), answers.size() - 1);
    std::ofstream(Sandbox::Current().Folder() / kFile, std::ios::binary) << answers.substr(end + 1);
    return answers.substr(0, end + 1);
}

std::string Trimmed(const std::string& line) {
    std::string word;
    std::istringstream(line) >> word;
    return FromUtf8(word);
}

bool Chooses(const std::string& answer, const Choice& choice) {
    std::istringstream words{std::string(choice.words)};
    for (std::string word; words >> word;) {
        if (EqualIgnoringCase(word, answer)) {
            return true;
        }
    }
    return EqualIgnoringCase(choice.label, answer) ||
           EqualIgnoringCase(choice.label.substr(0, 1), answer);
}

// A program that asks the same again and again must not fill the disk with its record.
void CountUnanswered() {
    if (++Ui().unanswered > kMostUnanswered) {
        static_cast<void>(
            std::fputs("UnInstall: nobody answers, and the questions have no end.\n", stderr));
        std::_Exit(2);
    }
}

}  // namespace

void Record(std::string_view event, std::initializer_list<std::string_view> fields) {
    constexpr std::string_view kSpecial = "\\\t\r\n";
    constexpr std::string_view kLetters = "\\trn";
    const Sandbox& sandbox = Sandbox::Current();
    std::string line = std::string(event) + '\t' + sandbox.Role();
    for (const std::string_view field : fields) {
        line += '\t';
        for (const char character : ToUtf8(field)) {
            const std::size_t special = kSpecial.find(character);
            line += special == std::string_view::npos ? std::string(1, character)
                                                      : std::string{'\\', kLetters[special]};
        }
    }
    sandbox.AppendLine("transcript.txt", line);
}

void Print(std::string_view text) {
    std::string printed(text);
    std::erase(printed, '\r');
    std::replace_if(
        printed.begin(), printed.end(),
        [](unsigned char code) {
            return (code < ' ' && code != '\n') || code == 0x7F || code == 0x81 || code == 0x8D ||
                   code == 0x8F || code == 0x90 || code == 0x9D;
        },
        '?');
    static_cast<void>(std::fputs(ToUtf8(printed).c_str(), stdout));
    static_cast<void>(std::fflush(stdout));
}

std::size_t Ask(const Choices& choices, std::size_t byDefault) {
    const bool terminal = isatty(STDIN_FILENO) != 0;
    for (;;) {
        for (std::size_t i = 0; i < choices.size(); ++i) {
            Print((i == byDefault ? "*" : "") + std::string(choices[i].label) + "  ");
        }
        Print("> ");
        const std::optional<std::string> line = TakeAnswer();
        const std::string answer = Trimmed(line.value_or(""));
        const auto chosen = std::find_if(choices.begin(), choices.end(), [&](const Choice& choice) {
            return Chooses(answer, choice);
        });
        const bool isNone = chosen == choices.end() && !answer.empty() && answer != "enter";
        if (!line) {
            CountUnanswered();
        } else if (isNone) {
            Record("misfit", {answer});
        }
        if (!isNone || !terminal) {
            Print(terminal ? "" : "\n");
            return chosen == choices.end() ? byDefault
                                           : static_cast<std::size_t>(chosen - choices.begin());
        }
    }
}

}  // namespace hosted
