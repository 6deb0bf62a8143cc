#include "tests/faults/judge.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <regex>
#include <set>
#include <sstream>

#include "tools/machine/stage.h"

namespace support {
namespace {

// What may stay, or happen, without a word, and which fault may do that: "ADDRESS=WAY".
struct Silence {
    const char* fault;
    const char* thing;
};
const Silence kSilences[] = {
    // The maker's key, empty: it goes only when it can be seen to be empty.
    {R"(copy Reg(OpenKeyEx|EnumKey)A .*\\Software\\Verlonix[:=].*)", R"(.*\\Software\\Verlonix)"},
    // All other users' settings: without the list of hives nobody knows whose there are.
    {R"(copy Reg(OpenKeyEx|EnumKey)A HKEY_USERS(:enumerate|\\\\)?=.*)",
     R"(HKEY_USERS\\(?!.*-1000\\).*\\Software\\Verlonix.*)"},
    // A verb's command: most file types are not ours, and those that cannot be read none of our
    // business.
    {R"(copy Reg(OpenKeyEx|EnumKey|QueryValueEx)A HKEY_CLASSES_ROOT.*)", R"(.*\\command\|)"},
    // The group of all users: without their menu the group is the one in the user's own.
    {"copy SHGet.*", R"(C:\\Dokumente und Einstellungen\\.*\\Programme\\Tessorin(\\.*)?)"},
    // Whose a browser's editor was, when the command that told it is gone.
    {R"(copy .* HKEY_CURRENT_USER\\.*Default.* Editor\\shell\\edit\\command.*=gone)",
     R"(.*Default.* Editor(\\shell.*|\|Description))"},
    // A report that cannot be shown ends the program; a question counts as No.
    {"copy MessageBoxA Der folgende Fehler .*", ".*"},
    {"copy MessageBoxA Sollen die Windows-.*", R"(HKEY_.*\\(Classes|Internet Explorer|HTML)\\.*)"},
    {"first MessageBoxA .*", ".*"},
    // The interpreter that cannot delete the files of the hand-over has no window.
    {"script DeleteFileA .*", R"(C:\\windows\\Temp\\UnInstall\..*)"},
};

// Failures in the first run that are none for its user.
constexpr const char* kHarmless =
    "first (AllowSetForegroundWindow|CloseHandle|FindClose|DeleteFileA|FindFirstFileA|OpenFile) .*";

bool Matches(const std::string& text, const char* pattern) {
    return std::regex_match(text, std::regex(pattern));
}

bool Contains(const std::string& text, std::string_view part) {
    return text.find(part) != std::string::npos;
}

std::string Lower(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char character) {
        return character < 0x80 ? static_cast<char>(std::tolower(character))
                                : static_cast<char>(character);
    });
    return text;
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
    std::string lines;      // the dialog's, and reports that were passed over, in lower case
};

bool SaysTheEnd(const std::string& line) {
    return (line.starts_with("[x] *Yes No") && Contains(line, "das Programm wird beendet")) ||
           Contains(line, "Nicht genügend Arbeitsspeicher oder Systemressourcen verfügbar.") ||
           Contains(line, "Unbekanntes Befehlszeilenargument") || line == InUse("Cancel") ||
           Contains(line, " -> Abort: ");
}

Told WhatWasTold(const Outcome& outcome) {
    const std::set<std::string> usual{Progress(), Confirmation(), ResetQuestion(),
                                      FolderNotEmpty(kProgramFolder), FolderNotEmpty(kGroupFolder)};
    Told told;
    told.ended = outcome.errors.starts_with("start ");  // says the interpreter
    for (const std::string& line : outcome.shown) {
        if (line == Success()) {
            told.success = true;
        } else if (line.starts_with("frmUnInstDone -> ") || Contains(line, " -> Ignore: ")) {
            told.problems = told.problems || line.starts_with("frm");
            told.lines += Lower(line) + "\n";
        } else if (SaysTheEnd(line)) {
            told.ended = true;
        } else if (!usual.contains(line) && !Contains(line, " -> Retry: ") &&
                   !line.starts_with("an answer that does not fit")) {
            ADD_FAILURE() << "shown: " << line;
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

bool IsFileNamed(const std::string& path, const Told& told) {
    const auto says = [&](const std::string& kind, const std::string& name) {
        return Contains(told.lines, Lower(kind + " \"" + name + "\" konnte nicht gelöscht"));
    };
    const bool inGroup = path.starts_with(kGroupFolder);
    if (path == kProgramFolder + "\\Tessorin.exe" || path == kProgramFolder + "\\UnInstall.exe") {
        return says("Datei", path);
    }
    if (inGroup && path != kGroupFolder && says("Verknüpfung", path)) {
        return true;
    }
    // Where no menu can be found, the line has no path to name.
    return (inGroup && says("Verzeichnis", "Tessorin")) ||
           ((!inGroup || path == kGroupFolder) &&
            says("Verzeichnis", inGroup ? kGroupFolder : kProgramFolder));
}

// By its own line, by that of a key above it, or by a report about a value in it or below it.
bool IsKeyNamed(const std::string& key, const Told& told) {
    for (const std::string& name : NamesOf(key)) {
        if (Contains(told.lines, Lower("im Schlüssel \"" + name))) {
            return true;
        }
        for (std::string above = name; !above.empty();
             above.resize(std::min(above.rfind('\\'), above.size()))) {
            if (Contains(told.lines, Lower("Registrierungsschlüssel \"" + above + "\""))) {
                return true;
            }
            if (!Contains(above, "\\")) {
                break;
            }
        }
    }
    return false;
}

bool IsNamed(const std::string& thing, const Told& told) {
    const std::size_t bar = thing.find('|');
    const std::string key = thing.substr(0, bar);
    if (!thing.starts_with("HKEY_")) {
        return IsFileNamed(thing, told);
    }
    if (key == kSharedDlls) {
        return Contains(told.lines, Lower("\"" + thing.substr(bar + 1) + "\" konnte")) ||
               Contains(told.lines, "die gemeinsam genutzten dateien konnten");
    }
    return IsKeyNamed(key, told);
}

// ---- the rules -------------------------------------------------------------------------

class Verdict {
 public:
    Verdict(const Fault& fault, const Baseline& baseline, const Outcome& outcome,
            const Machine& machine)
        : fault_(fault),
          baseline_(baseline),
          status_(outcome.status),
          told_(WhatWasTold(outcome)),
          after_(ThingsOf(machine.Look())),
          calls_(CallsMade(machine)) {}

    void Pass() const {
        ItHappened();
        OneEnd();
        for (const std::string& thing : Foreign(baseline_, after_)) {
            EXPECT_TRUE(IsExcused(thing)) << "foreign, but changed: " << thing;
        }
        for (const std::string& thing : LeftOver(baseline_, after_)) {
            EXPECT_TRUE(told_.ended || IsNamed(thing, told_) || IsMakerKeyInUse(thing) ||
                        IsExcused(thing))
                << "left without a word: " << thing;
        }
        HandOver();
    }

 private:
    void ItHappened() const {
        const bool isCode = std::isdigit(static_cast<unsigned char>(fault_.what[0])) != 0;
        EXPECT_TRUE(std::any_of(calls_.begin(), calls_.end(), [&](const Call& call) {
            return call.Address() == fault_.call.Address() &&
                   (!isCode || call.result == fault_.what);
        })) << "nothing has happened";
        EXPECT_TRUE(status_ == 0 || status_ == 1) << "exit status " << status_;
    }

    void OneEnd() const {
        const int ends = int{told_.success} + int{told_.problems} + int{told_.ended};
        if (ends == 0 && fault_.call.function == "MessageBoxA") {
            EXPECT_TRUE(fault_.call.role == "copy" || after_ == baseline_.before)
                << "begun without a confirmation";
        } else {
            EXPECT_EQ(ends, 1) << "endings were told";
        }
        // The first run hands over nothing that it could not make, or make safe.
        EXPECT_TRUE(fault_.call.role != "first" || !told_.success || fault_.what == "gone" ||
                    fault_.what == "less" || Matches(fault_.call.Address(), kHarmless))
            << "went on as if nothing had happened";
    }

    // Where the script has run, nothing is left in the temporary folder.
    void HandOver() const {
        const bool scriptRan = std::any_of(calls_.begin(), calls_.end(),
                                           [](const Call& call) { return call.role == "script"; });
        for (const std::string& path : HandOverFiles()) {
            EXPECT_TRUE(At(after_, path) == "nothing" || (told_.ended && !scriptRan) ||
                        IsExcused(path))
                << "left in the temporary folder: " << path;
        }
    }

    // A maker's key below which something is still there has to stay.
    [[nodiscard]] bool IsMakerKeyInUse(const std::string& thing) const {
        const auto below = after_.upper_bound(thing + "\\");
        return thing.ends_with("\\" + kMakerKey) && below != after_.end() &&
               below->first.starts_with(thing + "\\");
    }

    [[nodiscard]] bool IsExcused(const std::string& thing) const {
        const std::string fault = fault_.call.Address() + "=" + fault_.what;
        return (fault_.what == "gone" && HasVanished(thing)) ||
               std::any_of(std::begin(kSilences), std::end(kSilences), [&](const Silence& silence) {
                   return Matches(fault, silence.fault) && Matches(thing, silence.thing);
               });
    }

    // Whether the fault itself has taken it away.
    [[nodiscard]] bool HasVanished(const std::string& thing) const {
        const std::string& argument = fault_.call.argument;
        const bool isKey = argument.starts_with("HKEY_");
        std::string top =
            argument.substr(0, isKey ? argument.find_first_of(":|") : argument.size());
        top = Lower(top.ends_with('\\') ? top.substr(0, top.size() - 1) : top);
        const Lines names = NamesOf(thing);
        return At(after_, thing) == "nothing" &&
               std::any_of(names.begin(), names.end(), [&](const std::string& name) {
                   return Lower(name).starts_with(top) &&
                          (name.size() == top.size() ||
                           Contains("\\|", name.substr(top.size(), 1)));
               });
    }

    const Fault& fault_;
    const Baseline& baseline_;
    int status_;
    Told told_;
    Things after_;
    std::vector<Call> calls_;
};

}  // namespace

std::vector<Call> CallsMade(const Machine& machine) {
    const std::string file = machine.HostFolder() + "/calls.txt";
    std::istringstream lines(ReadBytes(file));
    std::vector<Call> calls;
    for (std::string line; std::getline(lines, line);) {
        Call call;
        std::istringstream fields(line);
        std::string effect;
        for (std::string* field : {&call.role, &call.function, &call.occurrence, &call.result,
                                   &effect, &call.argument}) {
            std::getline(fields, *field, '\t');
        }
        call.changes = effect == "changes";
        calls.push_back(call);
    }
    return calls;
}

Lines HandOverFiles() {
    return {kTempFolder + "\\UnInstall.bat", kTempFolder + "\\UnInstall.exe",
            kTempFolder + "\\UnInstall.pif"};
}

Things ThingsOf(const State& state) {
    Things things;
    for (const auto& [path, file] : state.files) {
        things[path] =
            file.attributes + " " + std::to_string(file.size) + " " + std::to_string(file.digest);
    }
    for (const auto& [key, values] : state.keys) {
        things[key] = "a key";
        for (const auto& [name, value] : values) {
            things[key + "|" + name] = value;
        }
    }
    return things;
}

Lines Foreign(const Baseline& baseline, const Things& after) {
    std::set<std::string> all;
    for (const Things* things : {&baseline.before, &after}) {
        for (const auto& [thing, content] : *things) {
            all.insert(thing);
        }
    }
    const Lines handOver = HandOverFiles();
    Lines foreign;
    for (const std::string& thing : all) {
        const std::string now = At(after, thing);
        if (now != At(baseline.before, thing) && now != At(baseline.complete, thing) &&
            std::find(handOver.begin(), handOver.end(), thing) == handOver.end()) {
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

void Judge(const Fault& fault, const Baseline& baseline, const Outcome& outcome,
           const Machine& machine) {
    Verdict(fault, baseline, outcome, machine).Pass();
}

bool WholeMatrix() {
    const char* const wish = std::getenv("UNINSTALL_MATRIX");
    return wish != nullptr && std::string(wish) == "full";
}

}  // namespace support
