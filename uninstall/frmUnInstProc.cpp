// The uninstall sequence as a table: what is removed in which order can be read, and compared,
// without reading how.
#include "uninstall/frmUnInstProc.h"

#include <array>
#include <vector>

#include "common/Product.h"
#include "common/modGeneral.h"
#include "common/modText.h"
#include "registry/modRegistry.h"
#include "uninstall/Globals.h"
#include "uninstall/SharedFiles.h"
#include "uninstall/ShellReset.h"
#include "uninstall/frmUnInstDone.h"

namespace {

constexpr std::array<forms::Control, 1> kControls{{
    {"lblMessage",
     forms::ControlKind::CentredLabel,
     {240, 240, 3615, 255},
     "Tessorin wird deinstalliert. Bitte warten Sie."},
}};

// Closing has no effect: nothing may suggest that it stops the removal.
constexpr unsigned tmrInitiateUnInst = 1;  // milliseconds
constexpr forms::Layout kLayout{.name = "frmUnInstProc",
                                .title = AppTitle,
                                .width = 4095,
                                .height = 735,
                                .closeBox = false,
                                .timerInterval = tmrInitiateUnInst,
                                .controls = kControls};

enum class Verb {
    File,
    Folder,  // with all that is in it
    Shortcut,
    Key,          // with its subkeys
    EmptyKey,     // only without subkeys
    SharedFiles,  // the counts of the shared files
    Hives,        // the product's keys of every loaded user profile
    ShellReset,   // after a question
};
enum class At { Program, Group, Machine, User, Nowhere };
enum class Repaint { No, Yes };

struct Step {
    Verb verb;
    At at = At::Nowhere;
    const char* object = "";
    Repaint repaint = Repaint::No;
};

// Everything that is removed, in the order in which it happens. The entry in the system's
// list of programs goes last: whatever interrupts the run, the user can start it again.
constexpr Step kSteps[] = {
    {Verb::File, At::Program, Product::Program, Repaint::Yes},
    {Verb::File, At::Program, Product::Uninstaller, Repaint::Yes},
    {Verb::Folder, At::Program, "", Repaint::Yes},
    {Verb::SharedFiles},
    {Verb::Shortcut, At::Group, "Tessorin.lnk", Repaint::Yes},
    {Verb::Shortcut, At::Group, "Deinstallieren.lnk", Repaint::Yes},
    {Verb::Shortcut, At::Group, "Tessorin-Website.lnk", Repaint::Yes},
    {Verb::Shortcut, At::Group, "Tessorin Website.lnk", Repaint::Yes},
    {Verb::Folder, At::Group, "", Repaint::Yes},
    {Verb::Key, At::Machine, Product::Key, Repaint::Yes},
    {Verb::EmptyKey, At::Machine, Product::MakerKey, Repaint::Yes},
    {Verb::Key, At::User, Product::Key, Repaint::Yes},
    {Verb::EmptyKey, At::User, Product::MakerKey, Repaint::Yes},
    {Verb::Hives},  // repaints for itself, after each key
    {Verb::ShellReset},
    {Verb::Key, At::Machine, Product::UninstallKey},
};

void RemoveFromHives(Removal& removal, forms::Form& window) {
    std::vector<std::string> hives;
    if (modRegistry::EnumSubkeys(HKEY_USERS, {}, hives, modRegistry::Silent) != ERROR_SUCCESS) {
        return;
    }
    for (const std::string& hive : hives) {
        removal.RemoveRegKey(HKEY_USERS, Joined({hive, "\\", Product::Key}), Subkeys::Remove);
        window.Refresh();
        removal.RemoveRegKey(HKEY_USERS, Joined({hive, "\\", Product::MakerKey}),
                             Subkeys::MustNotExist);
        window.Refresh();
    }
}

bool UserWantsReset() {
    return ShowMessage(
               "Sollen die Windows-Integrationseinstellungen von Tessorin zurückgesetzt werden "
               "(dringend empfohlen, falls Sie Tessorin nicht in dasselbe Verzeichnis "
               "neuinstallieren)?",
               MB_YESNO | MB_ICONQUESTION) == IDYES;
}

// Without a Programs folder the paths of the group would be relative to the current folder.
RuntimeError SkipGroupStep(const Step& step, Removal& removal) {
    if (step.verb == Verb::Folder) {
        removal.Log("Das Verzeichnis \"Tessorin\" konnte nicht gelöscht werden.");
    }
    return {};
}

// Only the removals of files and folders can fail in a way that ends the sequence.
RuntimeError Run(const Step& step, Removal& removal, forms::Form& window) {
    if (step.at == At::Group && ProgramGroupFolder.empty()) {
        return SkipGroupStep(step, removal);
    }
    const std::string path =
        (step.at == At::Group ? ProgramGroupFolder : ProgramFolder) + step.object;
    const HKEY root = step.at == At::User ? HKEY_CURRENT_USER : HKEY_LOCAL_MACHINE;
    switch (step.verb) {
        case Verb::File:
            return removal.RemoveFile(path);
        case Verb::Folder:
            return removal.RemoveFolder(path);
        case Verb::Shortcut:
            return removal.RemoveShortcut(path);
        case Verb::Key:
            removal.RemoveRegKey(root, step.object, Subkeys::Remove);
            break;
        case Verb::EmptyKey:
            removal.RemoveRegKey(root, step.object, Subkeys::MustNotExist);
            break;
        case Verb::SharedFiles:
            ReleaseSharedFiles(removal);
            break;
        case Verb::Hives:
            RemoveFromHives(removal, window);
            break;
        case Verb::ShellReset:
            if (UserWantsReset()) {
                ResetShellIntegration(removal);
            }
            break;
    }
    return {};
}

RuntimeError RemoveProduct(Removal& removal, forms::Form& window) {
    for (const Step& step : kSteps) {
        RuntimeError error = Run(step, removal, window);
        if (error.Failed()) {
            return error;
        }
        if (step.repaint == Repaint::Yes) {
            window.Refresh();
        }
    }
    return {};
}

RuntimeError ReportOutcome(std::string_view problems) {
    if (problems.empty()) {
        ShowMessage("Die Deinstallation wurde erfolgreich abgeschlossen.", MB_OK | MB_ICONASTERISK);
        return {};
    }
    frmUnInstDone done;
    if (!done.SetErrLog(problems.substr(0, problems.size() - kLineBreak.size())) || !done.Show()) {
        return SystemError(GetLastError(), "frmUnInstDone");
    }
    MessageBeep(MB_ICONASTERISK);
    while (!done.Acknowledged && done.IsLoaded()) {
        forms::ProcessMessages();
        Sleep(1);
    }
    return {};
}

}  // namespace

frmUnInstProc::frmUnInstProc() : Form(kLayout) {}

bool frmUnInstProc::Form_Load() {
    removal_.ProblemLog.clear();
    return true;
}

void frmUnInstProc::tmrInitiateUnInst_Timer() {
    constexpr std::uint8_t kPlace = 1;
    NextCheckPoint = {Procedure::UninstallSequence, kPlace};
    // Nothing after a failed step may run: whether it would still be right to remove more is
    // not known any longer.
    RuntimeError error = RemoveProduct(removal_, *this);
    if (!error.Failed()) {
        Unload();
        error = ReportOutcome(removal_.ProblemLog);
    }
    Defer(std::move(error));
    CheckPoint(Procedure::UninstallSequence, kPlace);
}
