#include "tests/faults/judge.h"

#include <fnmatch.h>
#include <strings.h>

#include <algorithm>
#include <cstring>

namespace support {
namespace {

// Without regard to the case of ASCII letters: the program's lines need not have the cases in
// which keys are stored.
bool Contains(const std::string& text, const std::string& part) {
    return strcasestr(text.c_str(), part.c_str()) != nullptr;
}

std::string At(const Things& things, const std::string& thing) {
    const auto found = things.find(thing);
    return found == things.end() ? "nothing" : found->second;
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

// ---- what was told ---------------------------------------------------------------------

struct Told {
    bool success = false;   // that everything is gone
    bool problems = false;  // the completion dialog was shown
    bool ended = false;     // that the run ends here, by itself or as the user wished
    std::string lines;      // the dialog's, and reports that were passed over
};

Told WhatWasTold(const Outcome& outcome) {
    Told told;
    told.ended = Contains(outcome.errors, "start \"");  // says the interpreter
    for (const std::string& line : outcome.shown) {
        if (line == Success()) {
            told.success = true;
        } else if (line.starts_with("frmUnInstDone -> ") || Contains(line, " -> Ignore: ")) {
            told.problems = told.problems || line.starts_with("frm");
            told.lines += line + "\n";
        } else if (Contains(line, "das Programm wird beendet.") || line == InUse("Cancel") ||
                   Contains(line, "Nicht genügend Arbeitsspeicher oder Systemressourcen") ||
                   Contains(line, "Unbekanntes Befehlszeilenargument") ||
                   Contains(line, " -> Abort: ")) {
            told.ended = true;
        }
    }
    return told;
}

// Whether a line names a thing, or something above it, or a report a value in a key below it.
bool IsNamed(const std::string& thing, const std::string& lines) {
    if (thing.starts_with(kSharedDlls)) {
        return Contains(lines, "\"" + thing.substr(kSharedDlls.size() + 1) + "\"") ||
               Contains(lines, "gemeinsam genutzten Dateien konnten");
    }
    bool isNamed = false;
    for (std::string name : NamesOf(thing.substr(0, thing.find('|')))) {
        isNamed = isNamed || Contains(lines, "im Schlüssel \"" + name);
        for (; Contains(name, "\\"); name.resize(name.rfind('\\'))) {
            isNamed = isNamed || Contains(lines, "\"" + name + "\"");
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

    void ItHappened() const {
        EXPECT_TRUE(std::any_of(calls.begin(), calls.end(), [this](const Call& call) {
            return call.Address() == fault.call.Address() &&
                   (fault.way == "gone" || fault.way == "less" || fault.way == call.result);
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

    void OneEndIsTold() const {
        const int ends = int{told.success} + int{told.problems} + int{told.ended};
        EXPECT_TRUE(ends == 1 || (ends == 0 && fault.mute)) << ends << " endings were told";
        EXPECT_FALSE(fault.ends && told.success) << "went on as if nothing had happened";
    }

    void NothingForeign() const {
        Lines foreign = Foreign(baseline, after);
        std::erase_if(foreign, [this](const std::string& thing) { return IsExcused(thing); });
        EXPECT_EQ(foreign, Lines{}) << "is foreign, but changed";
    }

    void NothingWithoutAWord() const {
        if (fault.mute && after == baseline.before) {
            return;  // it has not begun
        }
        Lines left = told.ended ? Lines{} : LeftOver(baseline, after);
        // Where the script has run, nothing is left in the temporary folder.
        const bool scriptRan = std::any_of(calls.begin(), calls.end(),
                                           [](const Call& call) { return call.role == "script"; });
        for (const std::string& path : kHandOverFiles) {
            left.resize(left.size() + (after.contains(path) && (scriptRan || !told.ended)), path);
        }
        std::erase_if(left, [this](const std::string& thing) {
            return IsNamed(thing, told.lines) || IsMakerKeyInUse(thing) || IsExcused(thing);
        });
        EXPECT_EQ(left, Lines{}) << "is left without a word";
    }

    // A maker's key below which something is still there has to stay.
    [[nodiscard]] bool IsMakerKeyInUse(const std::string& thing) const {
        const auto below = after.lower_bound(thing + "\\");
        return thing.ends_with("\\" + kMakerKey) && below != after.end() &&
               below->first.starts_with(thing + "\\");
    }

    [[nodiscard]] bool IsExcused(const std::string& thing) const {
        return Matches(thing, fault.mayChange) || (fault.way == "gone" && HasVanished(thing));
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

bool Matches(const std::string& text, const std::string& patterns) {
    const Lines all = Split(patterns);
    return std::any_of(all.begin(), all.end(), [&text](const std::string& pattern) {
        return fnmatch(pattern.c_str(), text.c_str(), FNM_NOESCAPE) == 0;
    });
}

void Judge(const Fault& fault, const Baseline& baseline, const Outcome& outcome,
           const Fixture& fixture) {
    EXPECT_TRUE(outcome.status == 0 || outcome.status == 1) << "exit status " << outcome.status;
    const Run run{fault, baseline, ThingsOf(fixture.Look()), WhatWasTold(outcome),
                  fixture.CallsMade()};
    run.ItHappened();
    run.EveryProcessEnds();
    run.OneEndIsTold();
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
