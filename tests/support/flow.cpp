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
        if (line.starts_with('[')) {
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

std::string Text(const std::string& name, const std::string& value) {
    static const Parts parts = ReadParts("messages.txt");
    std::string text = parts.at(name).at(0);
    if (const std::size_t place = text.find('%'); place != std::string::npos) {
        text.replace(place, 1, value);
    }
    return text;
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

std::string Box(char icon, const std::string& buttons, const std::string& answer,
                const std::string& text) {
    return "[" + std::string(1, Machine::kTellsIcons ? icon : ' ') + "] " + buttons + " -> " +
           answer + ": " + text;
}

std::string Confirmation(const std::string& answer) {
    return Box('!', "*Yes No", answer, Text("confirmation"));
}

std::string InUse(const std::string& answer) {
    return Box('!', "*Retry Cancel", answer, Text("in use"));
}

std::string FolderNotEmpty(const std::string& folder, const std::string& answer) {
    return Box('?', "*Yes No", answer, Text("folder", folder));
}

std::string ResetQuestion(const std::string& answer) {
    return Box('?', "*Yes No", answer, Text("reset"));
}

std::string Success() {
    return Box('i', "*OK", "OK", Text("success"));
}

std::string Progress() {
    return "frmUnInstProc: " + Text("progress");
}

std::string FatalMessage(const std::string& description, const std::string& place) {
    return Text("fatal", description) + Text("identifier", place);
}

std::string UnreadyDrive(const std::string& file) {
    return FatalMessage(Text("unready drive", file), "6:1:71");
}

std::string Fatal(const std::string& message, const std::string& answer) {
    return Box('x', "*Yes No", answer, message + Text("clipboard"));
}

std::string Problems(const Lines& problems, const std::string& way) {
    std::string text = "frmUnInstDone -> " + way + ": " + Text("problems") + " | ";
    for (const std::string& problem : problems) {
        text += (&problem == &problems.front() ? "-> " : "\\n-> ") + problem;
    }
    return text;
}

std::string OutOfMemory(const std::string& place) {
    return Box('x', "*OK", "OK", Text("memory", place));
}

std::string UnknownArgument(const std::string& arguments) {
    return Box('!', "*OK", "OK", Text("argument", arguments));
}

Lines CopyShows(const Lines& problems, const std::string& reset) {
    return {Progress(), FolderNotEmpty(kProgramFolder), ResetQuestion(reset),
            problems.empty() ? Success() : Problems(problems)};
}

testing::AssertionResult Same(const Lines& expected, const Lines& actual) {
    if (expected == actual) {
        return testing::AssertionSuccess();
    }
    testing::AssertionResult failure = testing::AssertionFailure();
    const auto name = [&failure](const char* what, const Lines& lines, const Lines& others) {
        for (const std::string& line : lines) {
            if (std::find(others.begin(), others.end(), line) == others.end()) {
                failure << "\n  " << what << line;
            }
        }
    };
    name("missing:    ", expected, actual);
    name("unexpected: ", actual, expected);
    name("in all:     ", actual, {});
    return failure;
}

testing::AssertionResult SameChanges(Lines expected, Lines actual) {
    std::sort(expected.begin(), expected.end());
    std::sort(actual.begin(), actual.end());
    return Same(expected, actual);
}

void ExpectOutcome(const Outcome& outcome, const Lines& shown, const Lines& difference,
                   int status) {
    EXPECT_EQ(outcome.status, status);
    EXPECT_TRUE(Same(shown, outcome.shown));
    EXPECT_TRUE(SameChanges(difference, outcome.difference));
    EXPECT_EQ(outcome.errors, "");
}

void ExpectEnd(const Outcome& outcome, const std::string& text, const Lines& difference,
               int status) {
    EXPECT_EQ(outcome.status, status);
    EXPECT_TRUE(SameChanges(difference, outcome.difference));
    ASSERT_EQ(outcome.shown.size(), 2U);
    EXPECT_NE(outcome.shown[1].find(text), std::string::npos) << outcome.shown[1];
}

}  // namespace support
