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

Lines ShellReset() {
    return With(Part("reset"),
                Machine::kMergesClasses ? Part("reset of the user's classes") : Lines{});
}

Lines TheRest() {
    return Part("rest");
}

Lines WithoutReset() {
    return With(TheRest(), {"- folder " + kProgramFolder});
}

Lines CompleteRemoval() {
    return With(WithoutReset(), ShellReset());
}

Lines Split(const std::string& text) {
    std::istringstream stream(text);
    Lines parts;
    for (std::string part; std::getline(stream, part, '|');) {
        parts.push_back(part);
    }
    return parts;
}

Lines With(Lines lines, const Lines& more) {
    lines.insert(lines.end(), more.begin(), more.end());
    return lines;
}

Lines Without(Lines lines, std::string_view part) {
    const std::size_t erased = std::erase_if(
        lines, [part](const std::string& line) { return line.find(part) != std::string::npos; });
    EXPECT_NE(erased, 0U) << part;
    return lines;
}

Lines Without(Lines lines, const Lines& others) {
    for (const std::string& other : others) {
        EXPECT_EQ(std::erase(lines, other), 1U) << other;
    }
    return lines;
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
    return "[" + std::string(1, Machine::kTellsIcons ? icon : ' ') + "] " + asked;
}

std::string Problems(const Lines& problems, const std::string& way) {
    std::string lines;
    for (const std::string& problem : problems) {
        lines += (lines.empty() ? "" : "\\n-> ") + problem;
    }
    return Text("problems", {way, lines});
}

Lines CopyShows(const Lines& problems, const std::string& reset) {
    return {Progress(), FolderNotEmpty(kProgramFolder), ResetQuestion(reset),
            problems.empty() ? Success() : Problems(problems)};
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

void ExpectOutcome(const Outcome& outcome, const Lines& shown, const Lines& difference,
                   int status) {
    EXPECT_EQ(outcome.status, status);
    EXPECT_EQ(outcome.shown, shown);
    ExpectChanges(difference, outcome.difference);
    EXPECT_EQ(outcome.errors, "");
}

void ExpectEnd(const Outcome& outcome, const std::string& text, const Lines& difference, int status,
               std::size_t windows) {
    EXPECT_EQ(outcome.status, status);
    ExpectChanges(difference, outcome.difference);
    ASSERT_EQ(outcome.shown.size(), windows);
    EXPECT_NE(outcome.shown.back().find(text), std::string::npos) << outcome.shown.back();
}

}  // namespace support
