// Where the program starts on Linux: finds its sandbox, takes its place among that
// computer's processes and runs WinMain.
#include "platform/hosted/call.h"
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

// A damaged file must end the process before anything is shown or changed.
void ReadEverything() {
    hosted::LoadRegistry();
    hosted::LoadAttributes();
}

UINT RunProgram(std::string arguments) {
    hosted::Sandbox& sandbox = hosted::Sandbox::Current();
    sandbox.SetRole(arguments.empty() ? "first" : "copy");
    hosted::SetCurrentFolder(hosted::CurrentFolder());
    constexpr int kShowNormal = 1;
    UINT status = 0;
    {
        const hosted::ProgramScope program;
        status = static_cast<UINT>(WinMain(nullptr, nullptr, arguments.data(), kShowNormal));
    }
    for (const auto& [value, handle] : hosted::Files().handles) {
        sandbox.AppendLine("log.txt", "still open: " + hosted::ToUtf8(handle.name));
    }
    { const hosted::Call call("ExitProcess"); }
    for (const std::string& key : hosted::OpenKeys()) {
        sandbox.AppendLine("log.txt", "still open: " + hosted::ToUtf8(key));
    }
    hosted::SaveRegistry();
    return status;
}

}  // namespace

// Nothing is loaded here that could be found in the wrong folder.
void PrepareProcess() {}

// "--check FOLDER" of a program that lies in no sandbox only reads the one in FOLDER.
int main(int count, char** values) {
    if (count == 3 && std::string_view(values[1]) == "--check") {
        hosted::Sandbox::Use(values[2]);
        ReadEverything();
        return 0;
    }
    if (hosted::Sandbox::Current().ModulePath().empty()) {
        return hosted::RunInterpreter(count, values);
    }
    ReadEverything();
    return static_cast<int>(RunProgram(ArgumentsOf(count, values)));
}
