#include "uninstall/frmUnInstProc.h"

#include <array>
#include <vector>

#include "common/Product.h"
#include "common/modGeneral.h"
#include "common/modText.h"
#include "platform/ansi.h"
#include "registry/modRegistry.h"
#include "uninstall/Globals.h"
#include "uninstall/frmUnInstDone.h"

namespace {

constexpr std::array<forms::Control, 1> kControls{{
    {"lblMessage",
     forms::ControlKind::CentredLabel,
     {240, 240, 3615, 255},
     "Tessorin wird deinstalliert. Bitte warten Sie."},
}};

// No close box: nothing may suggest that closing the window stops the removal.
constexpr unsigned tmrInitiateUnInst = 1;  // milliseconds
constexpr forms::Layout kLayout{.name = "frmUnInstProc",
                                .title = AppTitle,
                                .width = 4095,
                                .height = 735,
                                .closeBox = false,
                                .timerInterval = tmrInitiateUnInst,
                                .controls = kControls};

constexpr std::uint8_t kProcedure = 6;
constexpr std::uint8_t kPlace = 1;

constexpr std::string_view kResetQuestion =
    "Sollen die Windows-Integrationseinstellungen von Tessorin zurückgesetzt werden (dringend empfohlen, falls Sie Tessorin nicht in dasselbe Verzeichnis neuinstallieren)?"_ansi;

// What a step does, on what.
enum class Verb {
    RemoveFile,          // ProgramFolder + what
    RemoveProgram,       // ProgramFolder with all that is in it
    ReleaseSharedFiles,  // the shared-file counts
    RemoveShortcut,      // ProgramGroupFolder + what
    RemoveGroup,         // ProgramGroupFolder with all that is in it
    RemoveMachineKey,    // HKEY_LOCAL_MACHINE, with subkeys
    RemoveMachineLeaf,   // HKEY_LOCAL_MACHINE, only without subkeys
    RemoveUserKey,       // HKEY_CURRENT_USER, with subkeys
    RemoveUserLeaf,      // HKEY_CURRENT_USER, only without subkeys
    RemoveFromHives,     // the product's keys of every loaded user profile
    ResetShell,          // after a question
};

struct RemovalStep {
    const char* what;
    Verb verb;
    bool repaint;
};

// Everything that is removed, in the order in which it happens. The entry in the system's
// list of programs goes last: whatever interrupts the run, the user can start it again.
constexpr RemovalStep kSteps[] = {
    {Product::Program, Verb::RemoveFile, true},
    {Product::Uninstaller, Verb::RemoveFile, true},
    {"", Verb::RemoveProgram, true},
    {"", Verb::ReleaseSharedFiles, false},
    {"Tessorin.lnk", Verb::RemoveShortcut, true},
    {"Deinstallieren.lnk", Verb::RemoveShortcut, true},
    {"Tessorin-Website.lnk", Verb::RemoveShortcut, true},
    {"Tessorin Website.lnk", Verb::RemoveShortcut, true},
    {"", Verb::RemoveGroup, true},
    {Product::Key, Verb::RemoveMachineKey, true},
    {Product::MakerKey, Verb::RemoveMachineLeaf, true},
    {Product::Key, Verb::RemoveUserKey, true},
    {Product::MakerKey, Verb::RemoveUserLeaf, true},
    {"", Verb::RemoveFromHives, false},  // repaints for itself, after each key
    {"", Verb::ResetShell, false},
    {Product::UninstallKey, Verb::RemoveMachineKey, false},
};

void RemoveFromUserHives(frmUnInstProc& form) {
    std::vector<std::string> hives;
    if (modRegistry::EnumSubkeys(HKEY_USERS, {}, hives, modRegistry::Silent) != ERROR_SUCCESS) {
        return;
    }
    for (const std::string& hive : hives) {
        form.RemoveRegKey(HKEY_USERS, hive + "\\" + Product::Key, Subkeys::Remove);
        form.Refresh();
        form.RemoveRegKey(HKEY_USERS, hive + "\\" + Product::MakerKey, Subkeys::MustNotExist);
        form.Refresh();
    }
}

void AskToResetShell(frmUnInstProc& form) {
    if (ShowMessage(std::string(kResetQuestion), MB_YESNO | MB_ICONQUESTION) == IDYES) {
        form.ResetShellIntegration();
    }
}

bool IsGroupStep(Verb verb) {
    return verb == Verb::RemoveShortcut || verb == Verb::RemoveGroup;
}

// Only the removals of files and folders can fail in a way that ends the sequence.
RuntimeError RunRemovalStep(frmUnInstProc& form, const RemovalStep& step) {
    const Folders& folders = Globals();
    switch (step.verb) {
        case Verb::RemoveFile:
            return form.RemoveFile(folders.ProgramFolder + step.what);
        case Verb::RemoveProgram:
            return form.RemoveFolder(folders.ProgramFolder);
        case Verb::RemoveShortcut:
            return form.RemoveShortcut(folders.ProgramGroupFolder + step.what);
        case Verb::RemoveGroup:
            return form.RemoveFolder(folders.ProgramGroupFolder);
        case Verb::ReleaseSharedFiles:
            form.ReleaseSharedFiles();
            break;
        case Verb::RemoveMachineKey:
            form.RemoveRegKey(HKEY_LOCAL_MACHINE, step.what, Subkeys::Remove);
            break;
        case Verb::RemoveMachineLeaf:
            form.RemoveRegKey(HKEY_LOCAL_MACHINE, step.what, Subkeys::MustNotExist);
            break;
        case Verb::RemoveUserKey:
            form.RemoveRegKey(HKEY_CURRENT_USER, step.what, Subkeys::Remove);
            break;
        case Verb::RemoveUserLeaf:
            form.RemoveRegKey(HKEY_CURRENT_USER, step.what, Subkeys::MustNotExist);
            break;
        case Verb::RemoveFromHives:
            RemoveFromUserHives(form);
            break;
        case Verb::ResetShell:
            AskToResetShell(form);
            break;
    }
    return {};
}

RuntimeError RemoveProduct(frmUnInstProc& form) {
    for (const RemovalStep& step : kSteps) {
        // Without a group folder the shortcuts' paths would be relative to the current one.
        if (IsGroupStep(step.verb) && Globals().ProgramGroupFolder.empty()) {
            if (step.verb == Verb::RemoveGroup) {
                form.Log("Das Verzeichnis \"Tessorin\" konnte nicht gelöscht werden."_ansi);
            }
            continue;
        }
        if (RuntimeError error = RunRemovalStep(form, step)) {
            return error;
        }
        if (step.repaint) {
            form.Refresh();
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
    ProblemLog.clear();
    return true;
}

void frmUnInstProc::Log(std::string_view line) {
    ProblemLog += Joined({"-> ", line, kLineBreak});
}

void frmUnInstProc::tmrInitiateUnInst_Timer() {
    RunningPlace() = {kProcedure, kPlace};
    // Nothing behind a failed step may run: whether it would still be right to remove more is
    // not known any longer.
    bool done = RunStep(RemoveProduct(*this));
    if (done) {
        Unload();
        done = RunStep(ReportOutcome(ProblemLog));
    }
    if (!done) {
        ReportError(kProcedure, kPlace, CurrentError().number, Fatal::Yes, ShortForm::Yes);
    }
}
