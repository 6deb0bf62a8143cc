// What a run did to a machine: compares two machine folders.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <span>
#include <vector>

#include "tools/machine/print.h"

namespace {

constexpr const char* kUsage =
    "machine-report BEFORE AFTER --ours FILE: what happened between two states of a machine\n"
    "\n"
    "FILE says what of the machine is the product's. The exit status is 0 if nothing else\n"
    "changed, 1 if something did, 2 if the machines or the file cannot be read.\n";

bool MayColour() {
    const char* const forbidden = std::getenv("NO_COLOR");
    return isatty(STDOUT_FILENO) != 0 && (forbidden == nullptr || *forbidden == '\0');
}

struct Arguments {
    std::vector<std::string> machines;
    std::string rules;

    explicit Arguments(std::span<char*> words) {
        for (std::size_t i = 1; i < words.size(); ++i) {
            if (std::string_view(words[i]) == "--ours" && i + 1 < words.size()) {
                rules = words[++i];
            } else {
                machines.emplace_back(words[i]);
            }
        }
    }
    [[nodiscard]] bool Complete() const { return machines.size() == 2 && !rules.empty(); }
};

int Report(const Arguments& arguments) {
    using report::ReadMachine;
    const report::Ours ours(report::ReadFile(arguments.rules));
    const report::Snapshot before = ReadMachine(arguments.machines[0]);
    const report::Difference difference =
        report::Compare(before, ReadMachine(arguments.machines[1]), ours);
    const std::string text = report::ReportText(difference, before.user, MayColour());
    static_cast<void>(std::fwrite(text.data(), 1, text.size(), stdout));
    return difference.foreign.Empty() ? 0 : 1;
}

}  // namespace

int main(int count, char** words) {
    constexpr int kUnusable = 2;
    try {
        const Arguments arguments(std::span(words, static_cast<std::size_t>(count)));
        if (!arguments.Complete()) {
            static_cast<void>(std::fputs(kUsage, stderr));
            return kUnusable;
        }
        return Report(arguments);
    } catch (const std::exception& failure) {
        static_cast<void>(std::fprintf(stderr, "machine-report: %s.\n", failure.what()));
        return kUnusable;
    }
}
