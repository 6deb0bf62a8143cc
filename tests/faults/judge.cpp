#include "tests/faults/judge.h"

#include <strings.h>

#include <algorithm>
#include <cstring>
#include <regex>
#include <set>

namespace support {
namespace {

// What may keep the first run from asking whether to begin.
constexpr const char* kAsks = "first (MessageBoxA|HeapAlloc) .*";

// What may stay, or happen, without a word, and which fault ("ADDRESS=WAY") may do that.
struct Silence {
    const char* fault;
    const char* thing;
};
const Silence kSilences[] = {
    // The maker's key, empty: it goes only when it can be seen to be empty.
    {R"(copy Reg(OpenKeyEx|EnumKey)A .*\\Software\\Verlonix[:=].*)", R"(.*\\Software\\Verlonix)"},
    // All other users' settings: without the list of hives nobody knows whose there are.
    {R"(copy Reg(OpenKeyEx|EnumKey)A HKEY_USERS(:enumerate|\\)?=.*)",
     R"(HKEY_USERS\\(?!.*-1000\\).*\\Software\\Verlonix.*)"},
    // A verb's command: most file types are not ours, and those that cannot be read none of our
    // business.
    {R"(copy Reg(OpenKeyEx|EnumKey|QueryValueEx)A HKEY_CLASSES_ROOT.*)", R"(.*\\command\|)"},
    // Whose a browser's editor was, when the command that told it is gone.
    {R"(copy .* HKEY_CURRENT_USER\\.*Default.* Editor\\shell\\edit\\command.*=gone)",
     R"(.*Default.* Editor(\\shell.*|\|Description))"},
    // The group of all users: without their menu the group is the one in the user's own.
    {"copy SHGet.*", R"(C:\\Dokumente und Einstellungen\\.*\\Programme\\Tessorin(\\.*)?)"},
    // A report that cannot be shown ends the program; a question counts as No.
    {"copy MessageBoxA Der folgende Fehler .*", ".*"},
    {"copy MessageBoxA Sollen die Windows-.*", R"(HKEY_.*\\(Classes|Internet Explorer|HTML)\\.*)"},
    {kAsks, ".*"},
    // The interpreter that cannot delete the files of the hand-over has no window.
    {"script DeleteFileA .*", R"(C:\\windows\\Temp\\UnInstall\..*)"},
};

// What may go wrong in the first run without being the end of it.
constexpr const char* kHarmless =
    // A copy that cannot be held is a copy all the same; a script is tried again.
    "first ((AllowSetForegroundWindow|CloseHandle|DeleteFileA|FindClose|OpenFile|"
    "SetFileAttributesA|CreateWindowExA) .*|CreateFileA .*\\\\UnInstall\\.(exe|bat)=.*|"
    "(GetShortPathNameA|ReadFile) .*=less|.*=gone)";

bool Matches(const std::string& text, const char* pattern) {
    return std::regex_match(text, std::regex(pattern));
}

// Without regard to the case of ASCII letters: the program's lines need not have the cases in
// which keys are stored.
bool Contains(const std::string& text, const std::string& part) {
    return strcasestr(text.c_str(), part.c_str()) != nullptr;
}

std::string At(const Things& things, const std::string& thing) {
    const auto found = things.find(thing);
    return found == things.end() ? "nothing" : found->second;
}

// ---- what was told ---------------------------------------------------------------------

struct Told {
    bool success = false;   // that everything is gone
    bool problems = false;  // the completion dialog was shown
    bool ended = false;     // that the run ends here, by itself or as the user wished
    std::string lines;      // the dialog's, and reports that were passed over
};

bool SaysTheEnd(const std::string& line) {
    return Contains(line, "das Programm wird beendet.") || line == InUse("Cancel") ||
           Contains(line, "Nicht genügend Arbeitsspeicher oder Systemressourcen verfügbar.") ||
           Contains(line, "Unbekanntes Befehlszeilenargument") || Contains(line, " -> Abort: ");
}

Told WhatWasTold(const Outcome& outcome) {
    const std::set<std::string> usual{Progress(), Confirmation(), ResetQuestion(),
                                      FolderNotEmpty(kProgramFolder), FolderNotEmpty(kGroupFolder)};
    Told told;
    told.ended = Contains(outcome.errors, "start \"");  // says the interpreter
    for (const std::string& line : outcome.shown) {
        if (line == Success()) {
            told.success = true;
        } else if (line.starts_with("frmUnInstDone -> ") || Contains(line, " -> Ignore: ")) {
            told.problems = told.problems || line.starts_with("frm");
            told.lines += line + "\n";
        } else if (SaysTheEnd(line)) {
            told.ended = true;
        } else {
            EXPECT_TRUE(usual.contains(line) || Contains(line, " -> Retry: ") ||
                        line.starts_with("an answer that does not fit"))
                << "shown: " << line;
        }
    }
    return told;
}

// The names under which the program may know a key or value.
Lines NamesOf(const std::string& thing) {
    Lines names{thing};
    for (const auto& [place, root] : {std::pair(kClasses, "HKEY_CLASSES_ROOT\\"),
                                      {kUser + "Software\\Classes\\", "HKEY_CLASSES_ROOT\\"},
                                      {kUser, "HKEY_CURRENT_USER\\"}}) {
        if (thing.starts_with(place)) {
            names.push_back(root + thing.substr(place.size()));
        }
    }
    return names;
}

// Whether a line names a thing: one of its own if it has a step of its own, else one for
// something above it, or a report about a value in a key or below it.
bool IsNamed(const std::string& thing, const std::string& lines) {
    const auto says = [&lines](const std::string& kind, const std::string& name) {
        return Contains(lines, kind + " \"" + name + "\"");
    };
    if (thing.starts_with(kSharedDlls)) {
        return says("Datei", thing.substr(kSharedDlls.size() + 1)) ||
               Contains(lines, "gemeinsam genutzten Dateien konnten");
    }
    if (thing.starts_with(kGroupFolder)) {  // where no menu can be found, it has no path
        return says("Verknüpfung", thing) || says("Verzeichnis", thing) ||
               says("Verzeichnis", "Tessorin");
    }
    if (thing == kEditor || thing == kOwnFile) {
        return says("Datei", thing);
    }
    bool isNamed = !thing.starts_with("HKEY_") && says("Verzeichnis", kProgramFolder);
    for (std::string name : NamesOf(thing.substr(0, thing.find('|')))) {
        isNamed = isNamed || Contains(lines, "im Schlüssel \"" + name);
        for (; Contains(name, "\\"); name.resize(name.rfind('\\'))) {
            isNamed = isNamed || says("Registrierungsschlüssel", name);
        }
    }
    return isNamed;
}

// ---- the rules -------------------------------------------------------------------------

struct Run {
    const Fault& fault;
    const Baseline& baseline;
    Things after;
    Told told;
    std::vector<Call> calls;

    [[nodiscard]] std::string Text() const { return fault.call.Address() + "=" + fault.what; }

    void ItHappened() const {
        EXPECT_TRUE(std::any_of(calls.begin(), calls.end(), [this](const Call& call) {
            return call.Address() == fault.call.Address() &&
                   (fault.what == "gone" || fault.what == "less" || fault.what == call.result);
        })) << "nothing went wrong";
    }

    // That a copy broke down would show nowhere else: only the script waits for it.
    void EveryProcessEnds() const {
        std::map<std::string, std::string> last;
        for (const Call& call : calls) {
            last[call.role] = call.function;
        }
        last.erase("script");
        for (const auto& [role, function] : last) {
            EXPECT_TRUE(function.ends_with("Process")) << role << " broke down after " << function;
        }
    }

    void OneEnd() const {
        const int ends = int{told.success} + int{told.problems} + int{told.ended};
        // Who cannot be asked whether to begin has not begun; the end that cannot be told is one.
        const bool maySayNothing = Matches(Text(), "copy MessageBoxA .*") ||
                                   (Matches(Text(), kAsks) && after == baseline.before);
        EXPECT_TRUE(ends == 1 || (ends == 0 && maySayNothing)) << ends << " endings were told";
        // The first run hands over nothing that it could not make, or make safe.
        EXPECT_TRUE(fault.call.role != "first" || !told.success || Matches(Text(), kHarmless))
            << "went on as if nothing had happened";
    }

    void NothingForeign() const {
        Lines foreign = Foreign(baseline, after);
        std::erase_if(foreign, [this](const std::string& thing) { return IsExcused(thing); });
        EXPECT_EQ(foreign, Lines{}) << "is foreign, but changed";
    }

    void NothingWithoutAWord() const {
        Lines left = LeftOver(baseline, after);
        std::erase_if(left, [this](const std::string& thing) {
            return told.ended || IsNamed(thing, told.lines) || IsMakerKeyInUse(thing);
        });
        // Where the script has run, nothing is left in the temporary folder.
        const bool scriptRan = std::any_of(calls.begin(), calls.end(),
                                           [](const Call& call) { return call.role == "script"; });
        for (const std::string& path : kHandOverFiles) {
            left.resize(left.size() + (after.contains(path) && (scriptRan || !told.ended)), path);
        }
        std::erase_if(left, [this](const std::string& thing) { return IsExcused(thing); });
        EXPECT_EQ(left, Lines{}) << "is left without a word";
    }

    // A maker's key below which something is still there has to stay.
    [[nodiscard]] bool IsMakerKeyInUse(const std::string& thing) const {
        const auto below = after.lower_bound(thing + "\\");
        return thing.ends_with("\\" + kMakerKey) && below != after.end() &&
               below->first.starts_with(thing + "\\");
    }

    [[nodiscard]] bool IsExcused(const std::string& thing) const {
        return (fault.what == "gone" && HasVanished(thing)) ||
               std::any_of(std::begin(kSilences), std::end(kSilences), [&](const Silence& silence) {
                   return Matches(Text(), silence.fault) && Matches(thing, silence.thing);
               });
    }

    // Whether the fault itself has taken it away, with what the call is about.
    [[nodiscard]] bool HasVanished(const std::string& thing) const {
        std::string top = fault.call.argument;
        top = top.substr(0, top.starts_with("HKEY_") ? top.find_first_of(":|") : top.size());
        top += top.ends_with('\\') ? "" : "\\";
        const Lines names = NamesOf(thing.substr(0, thing.find('|')) + "\\");
        return !after.contains(thing) &&
               std::any_of(names.begin(), names.end(), [&](const std::string& name) {
                   return strncasecmp(name.c_str(), top.c_str(), top.size()) == 0;
               });
    }
};

}  // namespace

void Judge(const Fault& fault, const Baseline& baseline, const Outcome& outcome,
           const Machine& machine) {
    EXPECT_TRUE(outcome.status == 0 || outcome.status == 1) << "exit status " << outcome.status;
    const Run run{fault, baseline, ThingsOf(machine.Look()), WhatWasTold(outcome),
                  machine.CallsMade()};
    run.ItHappened();
    run.EveryProcessEnds();
    run.OneEnd();
    run.NothingForeign();
    run.NothingWithoutAWord();
}

Lines Foreign(const Baseline& baseline, const Things& after) {
    Things all = baseline.before;
    all.insert(after.begin(), after.end());
    for (const std::string& path : kHandOverFiles) {
        all.erase(path);
    }
    Lines foreign;
    for (const auto& [thing, content] : all) {
        const std::string now = At(after, thing);
        if (now != At(baseline.before, thing) && now != At(baseline.complete, thing)) {
            foreign.push_back(thing);
        }
    }
    return foreign;
}

Lines LeftOver(const Baseline& baseline, const Things& after) {
    Lines left;
    for (const auto& [thing, content] : baseline.before) {
        if (At(baseline.complete, thing) != content && At(after, thing) == content) {
            left.push_back(thing);
        }
    }
    return left;
}

}  // namespace support
