// Any text as a machine's registry: the reader takes it or names the damaged line, the
// writer gives a text that reads as the same registry, a log of changes can be cut off and
// read twice. A line "; log" separates the registry from a log of changes.
#include <algorithm>
#include <cstdint>
#include <map>
#include <set>
#include <vector>

#include "platform/hosted/registry/file.h"
#include "tests/fuzz/support.h"

namespace {

using fuzz::Require;
using hosted::RegistryNode;
using hosted::RegistryTree;

constexpr std::string_view kUser = "S-1-5-21-1000";
constexpr std::string_view kSeparator = "; log\n";

// The keys with their values, whatever the order in which those came.
std::map<std::string, std::set<std::string>> Contents(const RegistryTree& tree) {
    std::map<std::string, std::set<std::string>> contents;
    std::vector<const RegistryNode*> pending{&tree.Top()};
    while (!pending.empty()) {
        const RegistryNode* key = pending.back();
        pending.pop_back();
        auto& values = contents[key->FullName()];
        for (const auto& [name, value] : key->values) {
            values.insert(hosted::ValueLine(value.name, value.type, value.data));
        }
        for (const auto& [name, child] : key->children) {
            pending.push_back(child.get());
        }
    }
    return contents;
}

void RequireReadable(const std::optional<hosted::RegistryDamage>& damage, std::string_view text) {
    Require(!damage, damage ? damage->what : "", text);
}

// A registry written and read is the same one, in the same text.
void CheckWriter(const RegistryTree& tree) {
    const std::string text = hosted::RegistryText(tree);
    RegistryTree again;
    RequireReadable(hosted::ReadRegistryText(text, kUser, again), text);
    Require(hosted::RegistryText(again) == text, "written, read and written is the same", text);
    Require(Contents(again) == Contents(tree), "written and read is the same", text);
}

// The same registry, written change by change.
std::string LogOf(const RegistryTree& tree) {
    std::string log;
    std::vector<const RegistryNode*> pending{&tree.Top()};
    while (!pending.empty()) {
        const RegistryNode* key = pending.back();
        pending.pop_back();
        const std::string name = key->FullName();
        if (!name.empty()) {
            log += hosted::KeyLine(name);
        }
        for (const auto& [upper, value] : key->values) {
            log += hosted::KeyLine(name);
            log += hosted::ValueLine(value.name, value.type, value.data);
        }
        for (const auto& [upper, child] : key->children) {
            pending.push_back(child.get());
        }
    }
    return log;
}

void CheckLog(const RegistryTree& tree, std::size_t cut) {
    const std::string log = LogOf(tree);
    RegistryTree replayed;
    RequireReadable(hosted::ReadRegistryChanges(log, kUser, 1, replayed), log);
    Require(Contents(replayed) == Contents(tree), "the log gives the registry", log);
    // A killed process leaves the beginning of its log; unfinished lines are nobody's.
    const std::string part = log.substr(0, log.substr(0, cut % (log.size() + 1)).rfind('\n') + 1);
    RegistryTree partial;
    RequireReadable(hosted::ReadRegistryChanges(part, kUser, 1, partial), part);
}

// Changes on top of a registry: done twice they are done once.
void CheckChanges(std::string_view changes, RegistryTree& tree) {
    if (hosted::ReadRegistryChanges(changes, kUser, 1, tree)) {
        return;
    }
    const auto once = Contents(tree);
    CheckWriter(tree);
    RequireReadable(hosted::ReadRegistryChanges(changes, kUser, 1, tree), changes);
    Require(Contents(tree) == once, "changes done twice are done once", changes);
}

}  // namespace

// NOLINTNEXTLINE(readability-identifier-naming): the fuzzer's name for it
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    const std::size_t separator = input.find(kSeparator);
    const std::string_view text = input.substr(0, separator);
    RegistryTree tree;
    if (const auto damage = hosted::ReadRegistryText(text, kUser, tree)) {
        const auto lines = std::count(text.begin(), text.end(), '\n') + 1;
        Require(damage->line <= lines && !damage->what.empty(), "a damage has its place", text);
    }
    CheckWriter(tree);  // after a damage: with what stood before it
    CheckLog(tree, size * 7919);
    if (separator != std::string_view::npos) {
        CheckChanges(input.substr(separator + kSeparator.size()), tree);
    }
    return 0;
}
