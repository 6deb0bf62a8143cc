#include <algorithm>
#include <vector>

#include "common/modGeneral.h"
#include "common/modPath.h"
#include "registry/modRegistry.h"
#include "uninstall/Globals.h"
#include "uninstall/frmUnInstProc.h"

using modRegistry::ShowErrors;
using modRegistry::Silent;

// What settings that point at the product say, and what takes their place.
struct EditorTexts {
    std::string quotedProgram;    // "C:\...\Tessorin.exe", in quotes
    std::string EditorCommand;    // the same with its argument
    std::string unquotedCommand;  // without the quotes
    std::string WindowsFolder;    // ends in a backslash; empty if the system does not tell
};

namespace {

const std::string kBrowserEditor = "Software\\Microsoft\\Internet Explorer\\Default HTML Editor";
const std::string kSharedEditor = "Software\\Microsoft\\Shared\\HTML\\Default Editor";
const std::string kSourceViewer =
    "Software\\Microsoft\\Internet Explorer\\View Source Editor\\Editor Name";

// A key's default value; "" when it cannot be read, which equals nothing of ours.
std::string DefaultValue(HKEY root, const std::string& key, modRegistry::Options options) {
    std::string text;
    modRegistry::ReadValue(root, key, {}, text, options);
    return text;
}

bool NamesOurVerb(std::string_view text) {
    return EqualIgnoringCase(text, "Tessorin");
}
bool IsOurIcon(std::string_view text) {
    return text == "shell32.dll,0";
}

EditorTexts FormTexts() {
    const std::string program = Globals().ProgramFolder + "Tessorin.exe";
    return {
        Joined({"\"", program, "\""}), Joined({"\"", program, "\" %1"}), program + " %1",
        QueriedFolder([](char* buffer, DWORD size) { return GetWindowsDirectoryA(buffer, size); })};
}

bool StartsEditor(std::string_view command, const EditorTexts& texts) {
    return EqualIgnoringCase(command, texts.unquotedCommand) ||
           EqualIgnoringCase(command, texts.EditorCommand);
}

}  // namespace

void frmUnInstProc::ResetShellIntegration() {
    const EditorTexts texts = FormTexts();
    ResetContextMenus();
    ResetBrowserEditors(texts);
    ResetVerbs(texts);
}

void frmUnInstProc::RemoveDefaultValueIf(HKEY root, const std::string& key,
                                         bool (*isOurs)(std::string_view)) {
    if (!isOurs(DefaultValue(root, key, ShowErrors))) {
        return;
    }
    // As with keys: the user's value may have covered one like it of the machine's.
    if (RemoveRegValue(root, key, {}) && root == HKEY_CLASSES_ROOT &&
        isOurs(DefaultValue(root, key, Silent))) {
        RemoveRegValue(root, key, {});
    }
}

void frmUnInstProc::ResetContextMenus() {
    RemoveRegKey(HKEY_CLASSES_ROOT, "*\\Shell\\Tessorin", true);
    RemoveDefaultValueIf(HKEY_CLASSES_ROOT, "*\\Shell", NamesOurVerb);
    RemoveRegKey(HKEY_CLASSES_ROOT, "Unknown\\Shell\\Tessorin", true);
    if (NamesOurVerb(DefaultValue(HKEY_CLASSES_ROOT, "Unknown\\Shell", ShowErrors))) {
        // The system's own default for files that nobody knows.
        SetRegValue(HKEY_CLASSES_ROOT, "Unknown\\Shell", {}, REG_SZ, "openas");
    }
    RemoveDefaultValueIf(HKEY_CLASSES_ROOT, "*\\DefaultIcon", IsOurIcon);
    RemoveRegKey(HKEY_CLASSES_ROOT, ".htm\\OpenWithList\\Tessorin", true);
    RemoveRegKey(HKEY_CLASSES_ROOT, ".htm\\OpenWithList\\Tessorin.exe", true);
}

void frmUnInstProc::ResetBrowserEditors(const EditorTexts& texts) {
    const std::string browserCommand =
        DefaultValue(HKEY_CURRENT_USER, kBrowserEditor + "\\shell\\edit\\command", ShowErrors);
    if (EqualIgnoringCase(browserCommand, texts.EditorCommand)) {
        RemoveRegValue(HKEY_CURRENT_USER, kBrowserEditor, "Description");
        RemoveRegKey(HKEY_CURRENT_USER, kBrowserEditor + "\\shell", true);
    }
    const std::string sharedCommand =
        DefaultValue(HKEY_CURRENT_USER, kSharedEditor + "\\shell\\edit\\command", ShowErrors);
    if (EqualIgnoringCase(sharedCommand, texts.EditorCommand)) {
        RemoveRegKey(HKEY_CURRENT_USER, kSharedEditor + "\\shell", true);
    }
    const std::string viewer = DefaultValue(HKEY_LOCAL_MACHINE, kSourceViewer, ShowErrors);
    if (EqualIgnoringCase(viewer, texts.quotedProgram)) {
        RemoveRegKey(HKEY_LOCAL_MACHINE, kSourceViewer, true);
    }
}

// Every verb of every file type that starts the editor starts Notepad from now on.
void frmUnInstProc::ResetVerbs(const EditorTexts& texts) {
    std::vector<std::string> classes;
    if (modRegistry::EnumSubkeys(HKEY_CLASSES_ROOT, {}, classes, Silent) != ERROR_SUCCESS) {
        return;
    }
    for (const std::string& name : classes) {
        if (name.starts_with('.')) {
            ResetVerbsOf(name, texts);
        }
    }
}

void frmUnInstProc::ResetVerbsOf(const std::string& extension, const EditorTexts& texts) {
    std::string type = DefaultValue(HKEY_CLASSES_ROOT, extension, Silent);
    // Cut at a NUL, where the registry would stop reading a key path made of it.
    type.resize(std::min(type.find('\0'), type.size()));
    const std::string shell = type + "\\Shell";
    std::vector<std::string> verbs;
    if (type.empty() || modRegistry::KeyExists(HKEY_CLASSES_ROOT, shell) != ERROR_SUCCESS ||
        modRegistry::EnumSubkeys(HKEY_CLASSES_ROOT, shell, verbs, Silent) != ERROR_SUCCESS) {
        return;
    }
    for (const std::string& verb : verbs) {
        const std::string key = Joined({shell, "\\", verb, "\\command"});
        std::string command;
        if (modRegistry::ReadValue(HKEY_CLASSES_ROOT, key, {}, command, Silent) != ERROR_SUCCESS) {
            return;
        }
        if (StartsEditor(command, texts)) {
            PointAtNotepad(key, texts.WindowsFolder);
        }
    }
}

void frmUnInstProc::PointAtNotepad(const std::string& key, const std::string& windowsFolder) {
    if (windowsFolder.empty()) {
        // A command without a folder would start whatever lies in the current one.
        LogValue(HKEY_CLASSES_ROOT, key, {}, " konnte nicht geschrieben werden.");
        return;
    }
    SetRegValue(HKEY_CLASSES_ROOT, key, {}, REG_SZ, windowsFolder + "Notepad.exe %1");
}
