// Any folder through the script and the command interpreter: what can be carried arrives
// unchanged, what cannot never becomes another existing folder, and nothing but the three
// deletions and the start of the copy happens.
#include <algorithm>
#include <sstream>

#include "common/modPath.h"
#include "main/modMain.h"
#include "platform/hosted/process/process.h"
#include "tests/fuzz/support.h"

namespace {

using fuzz::Require;
using Kind = hosted::ScriptCommand::Kind;

const std::string kTemp = "C:\\windows\\Temp\\";
const std::string kCopy = kTemp + "UnInstall.exe";
const std::string kOption = "/u=";

// The interpreter's code page has all of its characters: ASCII, the florin sign and all
// above the no-break space, which arrives as a blank.
bool HasDosForm(const std::string& folder) {
    return std::all_of(folder.begin(), folder.end(), [](char character) {
        const auto code = static_cast<unsigned char>(character);
        return code < 0x80 || code == 0x83 || code > 0xA0;
    });
}

void Check(const std::string& folder, const std::vector<hosted::ScriptCommand>& commands) {
    const bool isPlain = folder.find_first_of("&%^") == std::string::npos;
    Require(
        commands.size() >= 2 && commands[1].kind == Kind::StartAndWait && commands[1].item == kCopy,
        "the copy is started before anything that the folder says");
    Require(!isPlain || commands.size() == 4, "there are four commands");
    const std::string& argument = commands[1].arguments;
    Require(argument.starts_with(kOption), "the copy knows what it is");
    const std::string arrived = argument.substr(kOption.size());
    Require(arrived == folder || !FolderExists(arrived), "no other existing folder arrives");
    Require(!isPlain || !HasDosForm(folder) || arrived == folder, "it arrives unchanged");
    for (std::size_t i = 0; i < commands.size() && folder.find('&') == std::string::npos; ++i) {
        const std::string& item = commands[i].item;
        Require(i == 1 || (commands[i].kind == Kind::Delete &&
                           (item == kCopy || item == kTemp + "UnInstall.pif" ||
                            item == kTemp + "UnInstall.bat")),
                "nothing else is done");
    }
}

}  // namespace

// NOLINTNEXTLINE(readability-identifier-naming): the fuzzer's name for it
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const int machine = fuzz::EnterMachine();
    // Below a root, made of what a name may have.
    std::string folder = "C:\\" + std::string(reinterpret_cast<const char*>(data), size);
    std::erase_if(folder, [](char character) {
        return static_cast<unsigned char>(character) < 0x20 ||
               std::string_view("\"*/<>?|").find(character) != std::string_view::npos;
    });
    std::replace(folder.begin() + 3, folder.end(), ':', '_');
    if (CheckScriptFolders(kTemp, folder)) {
        Require(folder.find_first_of("&%^") != std::string::npos || !HasDosForm(folder),
                "what can be carried is not refused");
        return machine;
    }
    std::istringstream script(BuildScript(kTemp, kTemp, folder));
    std::vector<hosted::ScriptCommand> commands;
    while (!script.eof()) {
        const std::vector<hosted::ScriptCommand> more = hosted::ReadScriptLine(script);
        commands.insert(commands.end(), more.begin(), more.end());
    }
    Check(folder, commands);
    return machine;
}
