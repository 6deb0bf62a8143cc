#include "tests/faults/judge.h"

#include <algorithm>

namespace support {
namespace {

// What may stay, or happen, without a word, and why.
struct Silence {
    const char* role;
    const char* functions;  // those whose failure it comes from
    bool (*covers)(const Item& item, const State& after, const Baseline& baseline);
    const char* reason;
    bool byChance = false;
};

bool IsHiveOfOthers(const Item& item) {
    return item.kind == Item::Kind::Key && item.place.starts_with("HKEY_USERS\\") &&
           !item.place.starts_with(kUser) && item.place.find("\\" + kMakerKey) != std::string::npos;
}

const std::string kOwnGroup =
    "C:\\Dokumente und Einstellungen\\Clara\\Startmenü\\Programme\\Tessorin";

const std::vector<Silence>& AllSilences() {
    static const std::vector<Silence> silences{
        {"copy", "RegOpenKeyExA RegEnumKeyA",
         [](const Item& item, const State&, const Baseline&) {
             return item.kind == Item::Kind::Key && item.place.ends_with("\\" + kMakerKey);
         },
         "the maker's key, empty: it goes only when it can be seen to be empty"},
        {"copy", "RegOpenKeyExA RegEnumKeyA",
         [](const Item& item, const State& after, const Baseline& baseline) {
             const std::vector<Item> left = LeftOver(baseline, after);
             const std::vector<Item> all = LeftOver(baseline, baseline.before);
             return IsHiveOfOthers(item) &&
                    std::count_if(left.begin(), left.end(), IsHiveOfOthers) ==
                        std::count_if(all.begin(), all.end(), IsHiveOfOthers);
         },
         "all other users' settings: without the list of hives nobody knows whose there are"},
        {"copy", "RegOpenKeyExA RegEnumKeyA RegQueryValueExA",
         [](const Item& item, const State&, const Baseline&) {
             return item.kind == Item::Kind::Value && item.place.ends_with("\\command");
         },
         "a verb's command: most file types are not ours, and those that cannot be read none of "
         "our business"},
        {"copy", "SHGetSpecialFolderLocation SHGetPathFromIDListA",
         [](const Item& item, const State&, const Baseline&) {
             return item.place.starts_with(kGroupFolder) || item.place.starts_with(kOwnGroup);
         },
         "the group of all users: without their menu the group is the one in the user's own"},
        {"copy", "MessageBoxA",
         [](const Item& item, const State&, const Baseline&) { return IsShellSetting(item); },
         "the shell's settings: a question that cannot be shown counts as No"},
        {"first", "MessageBoxA",
         [](const Item&, const State& after, const Baseline& baseline) {
             return Difference(baseline.before, after).empty();
         },
         "everything: a confirmation that cannot be shown counts as No, and nothing is touched"},
        {"first", "CloseHandle",
         [](const Item& item, const State&, const Baseline&) {
             return item.place == kTempFolder + "\\UnInstall.pif";
         },
         "the record: still open in the first run, it cannot be deleted by the script", true},
        {"script", "DeleteFileA",
         [](const Item& item, const State&, const Baseline&) {
             const Lines files = HandOverFiles();
             return std::find(files.begin(), files.end(), item.place) != files.end();
         },
         "files of the hand-over: the interpreter that cannot delete them has no window"},
    };
    return silences;
}

class Judge {
 public:
    Judge(const Fault& fault, const Baseline& baseline, const Outcome& outcome,
          const Machine& machine)
        : fault_(fault),
          baseline_(baseline),
          outcome_(outcome),
          told_(WhatWasTold(outcome)),
          after_(machine.Look()),
          calls_(CallsMade(machine)) {}

    Judgement Finish() {
        Process();
        ForeignThings();
        OneEnd();
        Remains();
        HandOver();
        const bool ended = told_.ended || InterpreterEnded();
        result_.end = !result_.silences.empty() ? End::Silent
                      : told_.problems          ? End::Listed
                      : ended                   ? End::Ended
                                                : End::AsEver;
        Consequences();
        return std::move(result_);
    }

 private:
    void Violation(const std::string& text) { result_.violations.push_back(text); }

    // It was really refused, and the program ended by itself.
    void Process() {
        const auto refused = std::count_if(calls_.begin(), calls_.end(), [&](const CallMade& call) {
            return call.role == fault_.site.role && call.function == fault_.site.function &&
                   (fault_.call == 0 || call.number == fault_.call) && call.result == fault_.code;
        });
        if (refused == 0) {
            Violation("nothing was refused");
        }
        if (outcome_.status != 0 && outcome_.status != 1) {
            Violation("exit status " + std::to_string(outcome_.status));
        }
        for (const std::string& line : told_.unexpected) {
            Violation("shown: " + line);
        }
    }

    void ForeignThings() {
        for (const Item& item : Foreign(baseline_, after_)) {
            if (!IsSilence(item)) {
                Violation("foreign, but changed: " + item.Text());
            }
        }
    }

    [[nodiscard]] bool InterpreterEnded() const { return told_.interpreter.starts_with("start"); }

    void OneEnd() {
        const int ends =
            int{told_.success} + int{told_.problems} + int{told_.ended} + int{InterpreterEnded()};
        const bool cannotShow = fault_.site.function == "MessageBoxA";
        if (ends > 1 || (ends == 0 && !cannotShow)) {
            Violation("the user was told " + std::to_string(ends) + " endings");
        }
    }

    void Remains() {
        for (const Item& item : LeftOver(baseline_, after_)) {
            const bool isTold = IsNamed(item, told_) || told_.ended || InterpreterEnded() ||
                                (told_.keptShell && IsShellSetting(item)) ||
                                IsMakerKeyInUse(item, after_);
            if (!isTold && !IsSilence(item)) {
                Violation("left without a word: " + item.Text());
            }
        }
    }

    // Where the script has run, nothing is left in the temporary folder.
    void HandOver() {
        const bool scriptRan = std::any_of(calls_.begin(), calls_.end(), [](const CallMade& call) {
            return call.role == "script";
        });
        for (const std::string& path : HandOverFiles()) {
            const Item item{Item::Kind::File, path, {}};
            if (after_.files.contains(path) && (scriptRan || !told_.ended) && !IsSilence(item)) {
                Violation("left in the temporary folder: " + path);
            }
        }
    }

    // The first run hands over nothing that it could not make, or make safe.
    void Consequences() {
        const std::set<std::string> harmless{
            "AllowSetForegroundWindow",
            "CloseHandle",
            "FindClose",
            "DeleteFileA",     // of an older copy, which is then written over
            "FindFirstFileA",  // for an older record, which then stands in the way
            "OpenFile",        // tried again
        };
        if (fault_.site.role == "first" && result_.end == End::AsEver &&
            !harmless.contains(fault_.site.function)) {
            Violation("went on as if nothing had happened");
        }
    }

    bool IsSilence(const Item& item) {
        const std::vector<Silence>& silences = AllSilences();
        for (std::size_t i = 0; i < silences.size(); ++i) {
            const Silence& silence = silences[i];
            if (fault_.site.role == silence.role &&
                std::string(silence.functions).find(fault_.site.function) != std::string::npos &&
                silence.covers(item, after_, baseline_)) {
                result_.silences.insert(i);
                return true;
            }
        }
        return false;
    }

    const Fault& fault_;
    const Baseline& baseline_;
    const Outcome& outcome_;
    Told told_;
    State after_;
    std::vector<CallMade> calls_;
    Judgement result_;
};

}  // namespace

Judgement JudgeRun(const Fault& fault, const Baseline& baseline, const Outcome& outcome,
                   const Machine& machine) {
    return Judge(fault, baseline, outcome, machine).Finish();
}

std::vector<SilenceReason> Silences() {
    std::vector<SilenceReason> reasons;
    for (const Silence& silence : AllSilences()) {
        reasons.push_back({silence.reason, silence.byChance});
    }
    return reasons;
}

}  // namespace support
