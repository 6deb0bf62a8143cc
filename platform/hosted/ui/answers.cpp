#include "platform/hosted/ui/answers.h"

#include <cctype>
#include <fstream>
#include <sstream>

#include "platform/hosted/clock.h"
#include "platform/hosted/machine.h"

namespace hosted {
namespace {

constexpr DWORD kLookAgain = 5;  // milliseconds
constexpr std::chrono::seconds kPatience(60);

std::string Escaped(std::string_view text) {
    std::string result;
    for (const char character : text) {
        switch (character) {
            case '\\':
                result += "\\\\";
                break;
            case '\t':
                result += "\\t";
                break;
            case '\r':
                result += "\\r";
                break;
            case '\n':
                result += "\\n";
                break;
            default:
                result += character;
        }
    }
    return result;
}

std::string Word(std::string_view line) {
    std::string word;
    for (const char character : line) {
        if (std::isspace(static_cast<unsigned char>(character)) == 0) {
            word += static_cast<char>(std::tolower(static_cast<unsigned char>(character)));
        }
    }
    return word.empty() ? "enter" : word;
}

// The first line of the file, which it loses; not when that says "wait", unless asked to.
std::optional<std::string> TakeLine(bool alsoWait) {
    const MachineLock lock;
    const fs::path file = Machine::Current().Folder() / "answers.txt";
    std::ifstream stream(file, std::ios::binary);
    std::string line;
    if (!std::getline(stream, line)) {
        return std::nullopt;
    }
    std::string word = Word(line);
    if (word == "wait" && !alsoWait) {
        return word;
    }
    std::ostringstream rest;
    if (stream.peek() != std::ifstream::traits_type::eof()) {
        rest << stream.rdbuf();
    }
    const fs::path fresh = Machine::Current().Folder() / "answers.new";
    std::ofstream(fresh, std::ios::binary) << rest.str();
    fs::rename(fresh, file);
    return word;
}

}  // namespace

void Record(std::string_view event, std::initializer_list<std::string_view> fields) {
    Machine& machine = Machine::Current();
    std::string line(event);
    line.append("\t").append(machine.Role());
    for (const std::string_view field : fields) {
        line.append("\t").append(ToUtf8(Escaped(field)));
    }
    machine.AppendLine("transcript.txt", line);
}

void Note(std::string_view text) {
    Machine::Current().AppendLine("log.txt", ToUtf8(Escaped(text)));
}

Question::State Question::Look() {
    using Clock = std::chrono::steady_clock;
    const bool tired = waitingSince_ && Clock::now() - *waitingSince_ >= kPatience;
    const std::optional<std::string> word = TakeLine(tired);
    if (!word) {
        return State::Open;
    }
    if (*word != "wait") {
        answer_ = *word;
        return State::Answered;
    }
    if (tired) {
        Note("answer \"wait\": nobody came for a minute; the default is taken");
        answer_ = "enter";
        return State::Answered;
    }
    if (!waitingSince_) {
        waitingSince_ = Clock::now();
        Record("waiting", {});
    }
    ReallyWait(kLookAgain);
    return State::Waiting;
}

void Question::Refuse(std::string_view possible) const {
    const std::string answer = FromUtf8(answer_);
    std::string line = "answer \"" + answer + "\" does not fit: ";
    Note(line.append(possible));
    Record("misfit", {answer});
}

}  // namespace hosted
