#include "tests/support/transcript.h"

#include <algorithm>
#include <array>
#include <map>
#include <sstream>
#include <string_view>

namespace support {
namespace {

std::vector<std::string> Fields(const std::string& line) {
    std::vector<std::string> fields;
    std::istringstream stream(line);
    for (std::string field; std::getline(stream, field, '\t');) {
        std::string text;
        for (std::size_t i = 0; i < field.size(); ++i) {
            if (field[i] != '\\' || i + 1 == field.size()) {
                text += field[i];
                continue;
            }
            const char code = field[++i];
            text += code == 't' ? '\t' : code == 'r' ? '\r' : code == 'n' ? '\n' : code;
        }
        fields.push_back(text);
    }
    fields.resize(std::max<std::size_t>(fields.size(), 6));
    return fields;
}

struct Window {
    std::size_t line;  // its place among what was shown
    std::string name, way, texts;
    unsigned timers = 0;

    [[nodiscard]] std::string Line() const {
        return name + (way.empty() ? "" : " -> " + way) + ": " + texts +
               (timers > 1 ? " (the timer came again)" : "");
    }
};

}  // namespace

std::string Readable(const std::string& text) {
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text.compare(i, 2, "\r\n") == 0) {
            result += "\\n";
            ++i;
        } else if (text[i] == '\n' || text[i] == '\t') {
            result += text[i] == '\n' ? "\\l" : "\\t";
        } else {
            result += text[i];
        }
    }
    return result;
}

std::string BoxLine(unsigned style, const std::string& answer, const std::string& text) {
    constexpr std::array<std::string_view, 5> kIcons{" ", "x", "?", "!", "i"};
    const std::map<unsigned, std::vector<std::string>> kButtons{
        {0, {"OK"}},
        {2, {"Abort", "Retry", "Ignore"}},
        {4, {"Yes", "No"}},
        {5, {"Retry", "Cancel"}},
    };
    std::string line = "[" + std::string(kIcons.at((style >> 4U) & 7U)) + "]";
    unsigned position = 0;
    for (const std::string& button : kButtons.at(style & 15U)) {
        line += (position++ == ((style >> 8U) & 3U) ? " *" : " ") + button;
    }
    return line + " -> " + answer + ": " + Readable(text);
}

std::vector<std::string> ParseTranscript(const std::string& transcript) {
    std::vector<std::string> shown;
    std::vector<Window> windows;
    std::istringstream lines(transcript);
    for (std::string line; std::getline(lines, line);) {
        const std::vector<std::string> fields = Fields(line);
        const auto window = std::find_if(windows.rbegin(), windows.rend(),
                                         [&](const Window& one) { return one.name == fields[2]; });
        if (fields[0] == "box") {
            const std::string caption = fields[3] == "UnInstaller" ? "" : fields[3] + " ";
            std::string answer = fields[5];
            answer = answer == "ok" ? "OK" : answer;
            answer[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(answer[0])));
            shown.push_back(
                caption + BoxLine(static_cast<unsigned>(std::stoul(fields[2])), answer, fields[4]));
        } else if (fields[0] == "show") {
            const std::string title = fields[3] == "UnInstaller" ? "" : " " + fields[3];
            windows.push_back({shown.size(), fields[2], "", title});
            shown.emplace_back();
        } else if (fields[0] == "misfit") {
            shown.push_back("an answer that does not fit: " + fields[2]);
        } else if (window == windows.rend()) {
            continue;
        } else if (fields[0] == "text") {
            window->texts += (window->texts.empty() ? "" : " | ") + Readable(fields[4]);
        } else if (fields[0] == "event" && fields[3] == "timer") {
            ++window->timers;
        } else if (fields[0] == "event") {
            window->way += (window->way.empty() ? "" : " ") + fields[3];
        }
    }
    for (const Window& window : windows) {
        shown[window.line] = window.Line();
    }
    return shown;
}

}  // namespace support
