// Where the program starts on Linux: finds its machine, takes its place among that
// machine's processes and runs WinMain.
#include <csignal>

#include "platform/hosted/files/files.h"
#include "platform/hosted/process/process.h"
#include "platform/hosted/registry/registry.h"
#include "platform/startup.h"

namespace {

std::string ArgumentsOf(int count, char** values) {
    std::string text;
    for (int i = 1; i < count; ++i) {
        text += i > 1 ? " " : "";
        text += values[i];
    }
    return hosted::FromUtf8(text);
}

}  // namespace

// There are no libraries here that could be looked up in the wrong folder.
void PrepareProcess() {}

int main(int count, char** values) {
    static_cast<void>(std::signal(SIGPIPE, SIG_IGN));
    // The interpreter that starts the copy ignores these; the copy has a window.
    static_cast<void>(std::signal(SIGHUP, SIG_DFL));
    static_cast<void>(std::signal(SIGINT, SIG_DFL));
    hosted::Machine& machine = hosted::Machine::Current();
    std::string arguments = ArgumentsOf(count, values);
    machine.SetRole(arguments.empty() ? "first" : "copy");
    hosted::SetArguments(arguments);
    hosted::LoadRegistry();  // a damaged one must end the process before anything changes
    hosted::EnterProcess();
    constexpr int kShowNormal = 1;
    UINT status = 0;
    {
        const hosted::ProgramScope program;
        status = static_cast<UINT>(WinMain(nullptr, nullptr, arguments.data(), kShowNormal));
    }
    for (const auto& [value, handle] : hosted::Files().handles) {
        machine.AppendLine("log.txt", "still open: " + hosted::ToUtf8(handle.name));
    }
    { const hosted::Call call("ExitProcess"); }
    for (const std::string& key : hosted::OpenKeys()) {
        machine.AppendLine("log.txt", "still open: " + key);
    }
    hosted::SaveRegistry();
    return static_cast<int>(status);
}
