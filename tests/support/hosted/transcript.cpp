#include "tests/support/hosted/transcript.h"

#include <algorithm>
#include <map>
#include <sstream>

#include "tests/support/flow.h"

namespace support {
namespace {

// The fields of a line: what happened, the process, the form or the style of the box, and
// what there is to say about it; those that it lacks are empty.
Lines Fields(const std::string& line) {
    const std::map<char, char> meanings{{'t', '\t'}, {'r', '\r'}, {'n', '\n'}};
    Lines fields(1);
    for (std::size_t i = 0; i < line.size(); ++i) {
        if (line[i] == '\t') {
            fields.emplace_back();
        } else if (line[i] == '\\' && i + 1 < line.size()) {
            const auto meaning = meanings.find(line[++i]);
            fields.back() += meaning == meanings.end() ? line[i] : meaning->second;
        } else {
            fields.back() += line[i];
        }
    }
    fields.resize(std::max<std::size_t>(fields.size(), 6));
    return fields;
}

std::string BoxLine(const Lines& fields) {
    const std::map<unsigned, Lines> kButtons{{0, {"OK"}},
                                             {2, {"Abort", "Retry", "Ignore"}},
                                             {4, {"Yes", "No"}},
                                             {5, {"Retry", "Cancel"}}};
    const auto style = static_cast<unsigned>(std::stoul(fields[2]));
    std::string buttons;
    unsigned position = 0;
    for (const std::string& button : kButtons.at(style & 15U)) {
        buttons += (buttons.empty() ? "" : " ") +
                   std::string(position++ == ((style >> 8U) & 3U) ? "*" : "") + button;
    }
    std::string answer = fields[5];
    answer = answer == "ok" ? "OK" : answer;
    answer[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(answer[0])));
    const std::string caption = fields[3] == "UnInstaller" ? "" : fields[3] + " ";
    return caption + Box(" x?!i"[(style >> 4U) & 7U], buttons, answer, Readable(fields[4]));
}

struct Window {
    std::size_t line;  // its place among what was shown
    std::string name, way, texts;
    unsigned timers = 0;
};

}  // namespace

std::vector<std::string> ParseTranscript(const std::string& transcript) {
    Lines shown;
    std::vector<Window> windows;
    std::istringstream lines(transcript);
    for (std::string line; std::getline(lines, line);) {
        const Lines fields = Fields(line);
        const auto window = std::find_if(windows.rbegin(), windows.rend(),
                                         [&](const Window& one) { return one.name == fields[2]; });
        if (fields[0] == "box") {
            shown.push_back(BoxLine(fields));
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
            window->way += " -> " + fields[3];
        }
    }
    for (const Window& window : windows) {
        shown[window.line] = window.name + window.way + ": " + window.texts +
                             (window.timers > 1 ? " (the timer came again)" : "");
    }
    return shown;
}

}  // namespace support
