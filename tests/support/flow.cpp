#include "tests/support/flow.h"

#include <algorithm>
#include <map>
#include <sstream>

namespace support {
namespace {

// The lines of a file in tests/stage by the name of their part.
using Parts = std::map<std::string, Lines>;

Parts ReadParts(const char* file) {
    std::istringstream text(ReadBytes(std::filesystem::path(TESTS_STAGE) / file));
    Parts parts;
    std::string name;
    for (std::string line; std::getline(text, line);) {
        if (line.starts_with('[') && line.ends_with(']')) {
            name = line.substr(1, line.size() - 2);
        } else if (!name.empty() && !line.empty()) {
            parts[name].push_back(line);
        }
    }
    return parts;
}

const Lines& Part(const std::string& name) {
    static const Parts parts = ReadParts("removal.txt");
    return parts.at(name);
}

}  // namespace

std::string Text(const std::string& name, const Lines& values) {
    static const Parts parts = ReadParts("messages.txt");
    std::string text = parts.at(name).at(0);
    std::size_t place = 0;
    for (const std::string& value : values) {
        place = text.find('%', place);
        text.replace(place, 1, value);
        place += value.size();
    }
    return text.starts_with('[') ? Box(text[1], text.substr(4)) : text;
}

Lines Split(const std::string& text) {
    std::istringstream stream(text);
    Lines parts;
    for (std::string part; std::getline(stream, part, '|');) {
        parts.push_back(part);
    }
    return parts;
}

Lines operator+(Lines lines, const Lines& more) {
    lines.insert(lines.end(), more.begin(), more.end());
    return lines;
}

Removal::Removal() : lines_(Part("rest") + Part("reset")) {
    if (Fixture::kMergesClasses) {
        lines_ = lines_ + Part("reset of the user's classes");
    }
}

Removal Removal::Keeps(std::string_view part) const {
    Removal fewer = *this;
    const std::size_t erased = std::erase_if(fewer.lines_, [part](const std::string& line) {
        return line.find(part) != std::string::npos;
    });
    EXPECT_NE(erased, 0U) << part;
    return fewer;
}

Removal Removal::Keeps(const Lines& parts) const {
    Removal fewer = *this;
    for (const std::string& part : parts) {
        fewer = fewer.Keeps(part);
    }
    return fewer;
}

Removal Removal::Also(const Lines& lines) const {
    Removal more = *this;
    more.lines_ = more.lines_ + lines;
    return more;
}

Removal Removal::WithoutReset() const {
    Removal fewer = *this;
    for (const std::string& line : Part("reset") + Part("reset of the user's classes")) {
        std::erase(fewer.lines_, line);
    }
    return fewer;
}

Removal Removal::From(const std::string& folder) const {
    return WithoutReset().Keeps(kProgramFolder).Also("- folder " + folder);
}

std::string Readable(const std::string& text) {
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool isBreak = text.compare(i, 2, "\r\n") == 0;
        result += isBreak           ? "\\n"
                  : text[i] == '\n' ? "\\l"
                  : text[i] == '\t' ? "\\t"
                                    : text.substr(i, 1);
        i += isBreak ? 1 : 0;
    }
    return result;
}

std::string Box(char icon, const std::string& asked) {
    return "[" + std::string(1, Fixture::kTellsIcons ? icon : ' ') + "] " + asked;
}

std::string Problems(const Lines& problems, const std::string& way) {
    std::string lines;
    for (const std::string& problem : problems) {
        lines += (lines.empty() ? "" : "\\n-> ") + problem;
    }
    return Text("problems", {way, lines});
}

Lines CopyShows(const std::string& end) {
    return {Progress(), FolderNotEmpty(kProgramFolder), ResetQuestion(), end};
}

Lines RunShows(const std::string& end) {
    return Lines{Confirmation()} + CopyShows(end);
}

std::string FatalMessage(const std::string& description, const std::string& place) {
    std::string message = Text("fatal", {description, place});
    if (description.empty()) {  // it tells nothing of the failure then
        message.replace(0, message.find("\\n\\nDieser"), "Ein Fehler ist aufgetreten.");
    }
    return message;
}

std::string Fatal(const std::string& description, const std::string& place,
                  const std::string& answer) {
    return Text("fatal box", {answer, FatalMessage(description, place)});
}

std::string SystemText(DWORD code) {
    char text[512];
    const DWORD size =
        FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM, nullptr, code, 0, text, sizeof text, nullptr);
    const std::string line = ToUtf8({text, size});
    return "\\n\\n" + line.substr(0, line.find('\r')) + " (Fehlercode " + std::to_string(code) +
           ")";
}

std::string Description(const std::string& meaning, const std::string& object, DWORD code) {
    return meaning + ": \"" + object + "\"\\n\\t\\n\\t" + SystemText(code).substr(4);
}

void ExpectChanges(Lines expected, Lines actual) {
    std::ranges::sort(expected);
    std::ranges::sort(actual);
    Lines missing;
    Lines unexpected;
    std::ranges::set_difference(expected, actual, std::back_inserter(missing));
    std::ranges::set_difference(actual, expected, std::back_inserter(unexpected));
    EXPECT_EQ(missing, Lines{});
    EXPECT_EQ(unexpected, Lines{});
}

namespace {

void ExpectOutcome(const Outcome& outcome, int status, const Lines& shown, const Lines& changes) {
    EXPECT_EQ(outcome.status, status);
    EXPECT_EQ(outcome.shown, shown);
    ExpectChanges(changes, outcome.difference);
    EXPECT_EQ(outcome.errors, "");
}

}  // namespace

void ExpectFinished(const Outcome& outcome, const Lines& shown, const Lines& changes) {
    ExpectOutcome(outcome, 0, shown, changes);
}

void ExpectBrokenOff(const Outcome& outcome, const Lines& shown, const Lines& changes) {
    ExpectOutcome(outcome, 1, shown, changes);
}

}  // namespace support
