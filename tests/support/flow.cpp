#include "tests/support/flow.h"

#include <algorithm>
#include <sstream>

namespace support {
namespace {

// The lines of tests/stage/removal.txt behind the name of their part.
Lines Part(const std::string& name) {
    std::istringstream text(ReadBytes(std::filesystem::path(TESTS_STAGE) / "removal.txt"));
    Lines lines;
    bool inside = false;
    for (std::string line; std::getline(text, line);) {
        if (line.starts_with('[')) {
            inside = line == "[" + name + "]";
        } else if (inside && !line.empty()) {
            lines.push_back(line);
        }
    }
    return lines;
}

}  // namespace

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
    return Box('!', "*Yes No", answer, "Sind Sie sicher, dass Tessorin deinstalliert werden soll?");
}

std::string InUse(const std::string& answer) {
    return Box('!', "*Retry Cancel", answer,
               "Tessorin kann derzeit nicht deinstalliert werden. Wahrscheinlich wird das Programm "
               "noch ausgeführt oder Sie haben nicht die erforderlichen Berechtigungen, um es zu "
               "deinstallieren.\\n\\nFalls das Programm noch ausgeführt wird, beenden Sie es bitte "
               "und klicken dann auf \"Wiederholen\", um mit der Deinstallation fortzufahren.");
}

std::string FolderNotEmpty(const std::string& folder, const std::string& answer) {
    return Box(
        '?', "*Yes No", answer,
        "Das Verzeichnis \"" + folder + "\" ist nicht leer. Soll es dennoch gelöscht werden?");
}

std::string ResetQuestion(const std::string& answer) {
    return Box('?', "*Yes No", answer,
               "Sollen die Windows-Integrationseinstellungen von Tessorin zurückgesetzt werden "
               "(dringend empfohlen, falls Sie Tessorin nicht in dasselbe Verzeichnis "
               "neuinstallieren)?");
}

std::string Success() {
    return Box('i', "*OK", "OK", "Die Deinstallation wurde erfolgreich abgeschlossen.");
}

Lines CopyShows(const Lines& problems, const std::string& reset) {
    return {Progress(), FolderNotEmpty(kProgramFolder), ResetQuestion(reset),
            problems.empty() ? Success() : Problems(problems)};
}

std::string Progress() {
    return "frmUnInstProc: Tessorin wird deinstalliert. Bitte warten Sie.";
}

std::string FatalMessage(const std::string& description, const std::string& place) {
    return "Der folgende Fehler ist aufgetreten:\\n\\t" + description +
           "\\n\\nDieser Fehler ist schwerwiegend; das Programm wird beendet.\\n\\nFalls Sie "
           "mithelfen möchten, dieses Problem in zukünftigen Versionen von UnInstaller zu "
           "beseitigen, so wenden Sie sich bitte an den Entwickler (Kontaktdaten auf "
           "https://www.verlonix.example/Kontakt) und geben Sie unbedingt die Fehlerkennung "
           "\"UnInstaller:2:0:33:" +
           place +
           "\" und möglichst genaue Informationen an, unter welchen Umständen der Fehler "
           "aufgetreten ist.";
}

std::string Fatal(const std::string& message, const std::string& answer) {
    return Box('x', "*Yes No", answer,
               message + "\\n\\nMöchten Sie diese Meldung in die Zwischenablage kopieren?");
}

std::string Problems(const Lines& problems, const std::string& way) {
    std::string text = "frmUnInstDone -> " + way +
                       ": Die Deinstallation von Tessorin ist abgeschlossen.\\nFolgende Probleme "
                       "sind aufgetreten: | ";
    for (const std::string& problem : problems) {
        text += (&problem == &problems.front() ? "-> " : "\\n-> ") + problem;
    }
    return text;
}

std::string UnknownArgument(const std::string& arguments) {
    return Box('!', "*OK", "OK", "Unbekanntes Befehlszeilenargument (\"" + arguments + "\")");
}

testing::AssertionResult Same(const Lines& expected, const Lines& actual) {
    const std::string mismatch = Mismatch(expected, actual);
    return mismatch.empty() ? testing::AssertionSuccess() : testing::AssertionFailure() << mismatch;
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

}  // namespace support
