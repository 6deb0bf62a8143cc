// Other programs take such settings over. So each is read right before it would go, and only a
// value that still names this product lets it go.
#include "uninstall/ShellReset.h"

#include <algorithm>
#include <vector>

#include "common/Product.h"
#include "common/modPath.h"
#include "common/modText.h"
#include "registry/modRegistry.h"
#include "uninstall/Globals.h"

using modRegistry::ShowErrors;
using modRegistry::Silent;

namespace {

const char* const kBrowserEditor = "Software\\Microsoft\\Internet Explorer\\Default HTML Editor";
const char* const kSharedEditor = "Software\\Microsoft\\Shared\\HTML\\Default Editor";
const char* const kSourceViewer =
    "Software\\Microsoft\\Internet Explorer\\View Source Editor\\Editor Name";

// What settings that point at the product say, and what takes their place.
struct EditorTexts {
    std::string quotedProgram;    // "C:\...\Tessorin.exe", in quotes
    std::string EditorCommand;    // the same with its argument
    std::string unquotedCommand;  // without the quotes
    std::string WindowsFolder;    // ends in a backslash
};

EditorTexts FormTexts() {
    const std::string program = ProgramFolder + Product::Program;
    FolderBuffer buffer{};
    const UINT length = GetWindowsDirectoryA(buffer.data(), static_cast<UINT>(buffer.size()));
    return {Quoted(program), Quoted(program) + " %1", program + " %1", FolderIn(buffer, length)};
}

// A key's default value; "" when it cannot be read, which equals nothing of ours.
std::string DefaultValue(HKEY root, const std::string& key, modRegistry::Options options) {
    std::string text;
    modRegistry::ReadValue(root, key, {}, text, options);
    return text;
}

bool NamesOurVerb(const std::string& key) {
    return EqualIgnoringCase(DefaultValue(HKEY_CLASSES_ROOT, key, ShowErrors), Product::Name);
}

class ShellReset {
 public:
    explicit ShellReset(Removal& removal) : removal_(removal), texts_(FormTexts()) {}

    void Run() {
        ResetContextMenus();
        ResetBrowserEditors();
        ResetVerbs();
    }

 private:
    void RemoveKey(HKEY root, const std::string& key) {
        removal_.RemoveRegKey(root, key, Subkeys::Remove);
    }
    void SetDefaultValue(const std::string& key, std::string_view text) {
        removal_.SetRegValue(HKEY_CLASSES_ROOT, key, {}, REG_SZ, text);
    }

    void ResetContextMenus() {
        RemoveKey(HKEY_CLASSES_ROOT, Joined({"*\\Shell\\", Product::Name}));
        if (NamesOurVerb("*\\Shell")) {
            removal_.RemoveRegValue(HKEY_CLASSES_ROOT, "*\\Shell", {});
        }
        RemoveKey(HKEY_CLASSES_ROOT, Joined({"Unknown\\Shell\\", Product::Name}));
        if (NamesOurVerb("Unknown\\Shell")) {
            SetDefaultValue("Unknown\\Shell", "openas");  // the system's own default
        }
        if (DefaultValue(HKEY_CLASSES_ROOT, "*\\DefaultIcon", ShowErrors) == "shell32.dll,0") {
            removal_.RemoveRegValue(HKEY_CLASSES_ROOT, "*\\DefaultIcon", {});
        }
        RemoveKey(HKEY_CLASSES_ROOT, Joined({".htm\\OpenWithList\\", Product::Name}));
        RemoveKey(HKEY_CLASSES_ROOT, Joined({".htm\\OpenWithList\\", Product::Program}));
    }

    bool IsEditCommandOurs(std::string_view editor) {
        const std::string command =
            DefaultValue(HKEY_CURRENT_USER, Joined({editor, "\\shell\\edit\\command"}), ShowErrors);
        return EqualIgnoringCase(command, texts_.EditorCommand);
    }

    void ResetBrowserEditors() {
        if (IsEditCommandOurs(kBrowserEditor)) {
            removal_.RemoveRegValue(HKEY_CURRENT_USER, kBrowserEditor, "Description");
            RemoveKey(HKEY_CURRENT_USER, Joined({kBrowserEditor, "\\shell"}));
        }
        if (IsEditCommandOurs(kSharedEditor)) {
            RemoveKey(HKEY_CURRENT_USER, Joined({kSharedEditor, "\\shell"}));
        }
        if (EqualIgnoringCase(DefaultValue(HKEY_LOCAL_MACHINE, kSourceViewer, ShowErrors),
                              texts_.quotedProgram)) {
            RemoveKey(HKEY_LOCAL_MACHINE, kSourceViewer);
        }
    }

    // Every verb of every file type that starts the editor starts Notepad from now on.
    void ResetVerbs() {
        std::vector<std::string> classes;
        if (modRegistry::EnumSubkeys(HKEY_CLASSES_ROOT, {}, classes, Silent) != ERROR_SUCCESS) {
            return;
        }
        for (const std::string& name : classes) {
            if (name.starts_with('.')) {
                ResetVerbsOf(name);
            }
        }
    }

    void ResetVerbsOf(const std::string& extension) {
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
            if (modRegistry::ReadValue(HKEY_CLASSES_ROOT, key, {}, command, Silent) !=
                ERROR_SUCCESS) {
                return;
            }
            if (StartsEditor(command)) {
                SetDefaultValue(key, texts_.WindowsFolder + "Notepad.exe %1");
            }
        }
    }

    [[nodiscard]] bool StartsEditor(std::string_view command) const {
        return EqualIgnoringCase(command, texts_.unquotedCommand) ||
               EqualIgnoringCase(command, texts_.EditorCommand);
    }

    Removal& removal_;
    const EditorTexts texts_;
};

}  // namespace

void ResetShellIntegration(Removal& removal) {
    ShellReset(removal).Run();
    // Otherwise the old icons and verbs stay on the screen until the next log-on.
    SHChangeNotify(SHCNE_ASSOCCHANGED, SHCNF_IDLIST, nullptr, nullptr);
}
