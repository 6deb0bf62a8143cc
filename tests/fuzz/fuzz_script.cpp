// Any folder through the script and the command interpreter: what can be carried arrives
// unchanged, what cannot never becomes another existing folder, and nothing but the three
// deletions and the start of the copy happens.
#include <algorithm>
#include <cctype>
#include <sstream>
#include <vector>

#include "common/modPath.h"
#include "common/modRuntimeError.h"
#include "main/modMain.h"
#include "platform/hosted/process/process.h"
#include "tests/fuzz/support.h"

namespace {

using fuzz::Require;

const std::string kTemp = "C:\\windows\\Temp\\";
const std::string kCopy = kTemp + "UnInstall.exe";
const std::string kOption = "/u=";

struct Actions {
    std::vector<std::string> deleted, started, arguments, unknown;
};

constexpr std::string_view kNever = "\"*/:<>?|";

// A file system has folders of this name: they are absolute, and no name has one of these.
bool IsPossible(const std::string& folder) {
    const auto impossible = [](char character) {
        return static_cast<unsigned char>(character) < 0x20 ||
               kNever.find(character) != std::string_view::npos;
    };
    return folder.size() >= 3 && folder.compare(1, 2, ":\\") == 0 &&
           std::isalpha(static_cast<unsigned char>(folder[0])) != 0 &&
           std::none_of(folder.begin() + 3, folder.end(), impossible);
}

// The interpreter's code page has all of its characters: ASCII, the florin sign and all
// above the no-break space, which arrives as a blank.
bool HasDosForm(const std::string& folder) {
    return std::all_of(folder.begin(), folder.end(), [](char character) {
        const auto code = static_cast<unsigned char>(character);
        return code < 0x80 || code == 0x83 || code > 0xA0;
    });
}

Actions Read(const std::string& text) {
    Actions actions;
    std::istringstream script(text);
    while (!script.eof()) {
        for (const hosted::ScriptCommand& command : hosted::ReadScriptLine(script)) {
            if (command.kind == hosted::ScriptCommand::Kind::Delete) {
                actions.deleted.push_back(command.item);
            } else if (command.kind == hosted::ScriptCommand::Kind::StartAndWait) {
                actions.started.push_back(command.item);
                actions.arguments.push_back(command.arguments);
            } else {
                actions.unknown.push_back(command.item);
            }
        }
    }
    return actions;
}

void RequireNoOther(const std::string& folder, const std::string& argument) {
    Require(argument.starts_with(kOption), "the copy knows what it is", folder);
    const std::string arrived = argument.substr(kOption.size());
    Require(arrived == folder || !FolderExists(arrived), "no other existing folder arrives",
            folder + " -> " + arrived);
}

void CheckPlain(const std::string& folder, const Actions& actions) {
    Require(actions.deleted ==
                std::vector<std::string>{kTemp + "UnInstall.pif", kCopy, kTemp + "UnInstall.bat"},
            "three files are deleted", folder);
    Require(actions.started == std::vector<std::string>{kCopy}, "the copy is started", folder);
    Require(actions.unknown.empty(), "nothing else is done", folder);
    const std::string& arrived = actions.arguments.front();
    Require(!HasDosForm(folder) || arrived == kOption + folder, "it arrives unchanged", folder);
    RequireNoOther(folder, arrived);
}

void CheckSpecial(const std::string& folder, const Actions& actions) {
    Require(!actions.started.empty() && actions.started.front() == kCopy,
            "the copy is started before anything that the folder says", folder);
    RequireNoOther(folder, actions.arguments.front());
    if (folder.find('&') == std::string::npos) {
        Require(actions.started.size() == 1 && actions.unknown.empty(), "one start only", folder);
        for (const std::string& path : actions.deleted) {
            Require(
                path == kCopy || path == kTemp + "UnInstall.pif" || path == kTemp + "UnInstall.bat",
                "nothing else is deleted", path);
        }
    }
}

}  // namespace

// NOLINTNEXTLINE(readability-identifier-naming): the fuzzer's name for it
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::MachineFolder();
    const std::string folder(reinterpret_cast<const char*>(data), size);
    if (!IsPossible(folder)) {
        return 0;
    }
    try {
        CheckScriptFolders(kTemp, folder);
    } catch (const RuntimeError&) {
        Require(folder.find_first_of("&%^") != std::string::npos || !HasDosForm(folder),
                "what can be carried is not refused", folder);
        return 0;  // refused: no script is started
    }
    const Actions actions = Read(BuildScript(kTemp, kTemp, folder));
    if (folder.find_first_of("&%^") == std::string::npos) {
        CheckPlain(folder, actions);
    } else {
        CheckSpecial(folder, actions);
    }
    return 0;
}
