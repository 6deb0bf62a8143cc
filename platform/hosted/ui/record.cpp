#include <cctype>
#include <fstream>
#include <iterator>

#include "platform/hosted/ui/ui.h"

namespace hosted {

void Record(std::string_view event, std::initializer_list<std::string_view> fields) {
    constexpr std::string_view kSpecial = "\\\t\r\n";
    constexpr std::string_view kLetters = "\\trn";
    Machine& machine = Machine::Current();
    std::string line = std::string(event) + '\t' + std::string(machine.Role());
    for (const std::string_view field : fields) {
        line += '\t';
        for (const char character : ToUtf8(field)) {
            const std::size_t special = kSpecial.find(character);
            line += special == std::string_view::npos ? std::string(1, character)
                                                      : std::string{'\\', kLetters[special]};
        }
    }
    machine.AppendLine("transcript.txt", line);
}

std::optional<std::string> TakeAnswer() {
    const fs::path file = Machine::Current().Folder() / "answers.txt";
    std::ifstream stream(file, std::ios::binary);
    std::string line;
    if (!std::getline(stream, line)) {
        return std::nullopt;
    }
    const std::string rest(std::istreambuf_iterator<char>(stream), {});
    std::ofstream(file, std::ios::binary) << rest;
    std::string word;
    for (const char character : line) {
        word += character > ' ' ? std::string(1, static_cast<char>(std::tolower(character))) : "";
    }
    return word.empty() ? "enter" : word;
}

UiState& Ui() {
    std::shared_ptr<UiState>& state = Machine::Current().ui;
    if (state == nullptr) {
        state = std::make_shared<UiState>();
    }
    return *state;
}

}  // namespace hosted
