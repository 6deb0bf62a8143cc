// Sandboxes from outside: makes one, and says what happened between two states of one.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <exception>

#include "tools/sandbox/report.h"
#include "tools/sandbox/stage.h"

namespace {

constexpr const char* kUsage =
    "sandbox stage FOLDER STAGE PROGRAM: makes the staged sandbox in FOLDER from the data in\n"
    "STAGE, with PROGRAM as the uninstaller in the program folder\n"
    "\n"
    "sandbox report BEFORE AFTER LIST: what happened between two states of a sandbox; LIST\n"
    "says what of it is the product's. The exit status is 0 if nothing else changed, 1 if\n"
    "something did.\n"
    "\n"
    "The exit status is 2 if the sandboxes or the files cannot be read.\n";

bool MayColour() {
    const char* const forbidden = std::getenv("NO_COLOR");
    return isatty(STDOUT_FILENO) != 0 && (forbidden == nullptr || *forbidden == '\0');
}

int Report(const std::string& before, const std::string& after, const std::string& list) {
    const sandbox::Ours ours(sandbox::ReadBytes(list));
    const sandbox::Report report =
        ReportOn(sandbox::Look(before), sandbox::Look(after), ours, MayColour());
    static_cast<void>(std::fwrite(report.text.data(), 1, report.text.size(), stdout));
    return report.foreign ? 1 : 0;
}

}  // namespace

int main(int count, char** words) {
    constexpr int kUnusable = 2;
    const std::vector<std::string> arguments(words + 1, words + count);
    try {
        if (arguments.size() == 4 && arguments[0] == "stage") {
            sandbox::Stage(arguments[1], arguments[2], arguments[3]);
            return 0;
        }
        if (arguments.size() == 4 && arguments[0] == "report") {
            return Report(arguments[1], arguments[2], arguments[3]);
        }
        static_cast<void>(std::fputs(kUsage, stderr));
    } catch (const std::exception& failure) {
        static_cast<void>(std::fprintf(stderr, "sandbox: %s.\n", failure.what()));
    }
    return kUnusable;
}
