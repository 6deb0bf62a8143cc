#include "uninstall/frmUnInstProc.h"

#include <array>
#include <vector>

#include "common/modGeneral.h"
#include "common/modRuntimeError.h"
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
constexpr forms::Layout kLayout{"frmUnInstProc", AppTitle,          4095,     735,
                                false,           tmrInitiateUnInst, kControls};

constexpr std::uint8_t kProcedure = 6;
constexpr std::uint8_t kPlace = 1;

constexpr std::string_view kResetQuestion =
    "Sollen die Windows-Integrationseinstellungen von Tessorin zurückgesetzt werden (dringend empfohlen, falls Sie Tessorin nicht in dasselbe Verzeichnis neuinstallieren)?"_ansi;

constexpr char kProductKey[] = "Software\\Verlonix\\Tessorin";
constexpr char kMakerKey[] = "Software\\Verlonix";
constexpr char kUninstallKey[] =
    "Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\Tessorin";

}  // namespace

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

namespace {

// Everything that is removed, in the order in which it happens. The entry in the system's
// list of programs goes last: whatever interrupts the run, the user can start it again.
constexpr RemovalStep kSteps[] = {
    {"Tessorin.exe", Verb::RemoveFile, true},
    {"UnInstall.exe", Verb::RemoveFile, true},
    {"", Verb::RemoveProgram, true},
    {"", Verb::ReleaseSharedFiles, false},
    {"Tessorin.lnk", Verb::RemoveShortcut, true},
    {"Deinstallieren.lnk", Verb::RemoveShortcut, true},
    {"Tessorin-Website.lnk", Verb::RemoveShortcut, true},
    {"Tessorin Website.lnk", Verb::RemoveShortcut, true},
    {"", Verb::RemoveGroup, true},
    {kProductKey, Verb::RemoveMachineKey, true},
    {kMakerKey, Verb::RemoveMachineLeaf, true},
    {kProductKey, Verb::RemoveUserKey, true},
    {kMakerKey, Verb::RemoveUserLeaf, true},
    {"", Verb::RemoveFromHives, false},  // repaints for itself, after each key
    {"", Verb::ResetShell, false},
    {kUninstallKey, Verb::RemoveMachineKey, false},
};

bool IsGroupStep(Verb verb) {
    return verb == Verb::RemoveShortcut || verb == Verb::RemoveGroup;
}

}  // namespace

frmUnInstProc::frmUnInstProc() : Form(kLayout) {}

void frmUnInstProc::tmrInitiateUnInst_Timer() {
    try {
        RemoveProduct();
        Unload();
        ReportOutcome();
    } catch (...) {
        // Nothing behind the failed step may run: whether it would still be right to
        // remove more is not known any longer.
        RecordCurrentException();
        ReportError(kProcedure, kPlace, CurrentError().number, true, true);
    }
}

void frmUnInstProc::RemoveProduct() {
    for (const RemovalStep& step : kSteps) {
        // Without a group folder the shortcuts' paths would be relative to the current one.
        if (IsGroupStep(step.verb) && Globals().ProgramGroupFolder.empty()) {
            if (step.verb == Verb::RemoveGroup) {
                Log("Das Verzeichnis \"Tessorin\" konnte nicht gelöscht werden."_ansi);
            }
            continue;
        }
        RunRemovalStep(step);
        if (step.repaint) {
            Refresh();
        }
    }
}

void frmUnInstProc::RunRemovalStep(const RemovalStep& step) {
    const Folders& folders = Globals();
    switch (step.verb) {
        case Verb::RemoveFile:
            return RemoveFile(folders.ProgramFolder + step.what);
        case Verb::RemoveProgram:
            return RemoveFolder(folders.ProgramFolder);
        case Verb::ReleaseSharedFiles:
            return ReleaseSharedFiles();
        case Verb::RemoveShortcut:
            return RemoveShortcut(folders.ProgramGroupFolder + step.what);
        case Verb::RemoveGroup:
            return RemoveFolder(folders.ProgramGroupFolder);
        case Verb::RemoveMachineKey:
            return RemoveRegKey(HKEY_LOCAL_MACHINE, step.what, true);
        case Verb::RemoveMachineLeaf:
            return RemoveRegKey(HKEY_LOCAL_MACHINE, step.what, false);
        case Verb::RemoveUserKey:
            return RemoveRegKey(HKEY_CURRENT_USER, step.what, true);
        case Verb::RemoveUserLeaf:
            return RemoveRegKey(HKEY_CURRENT_USER, step.what, false);
        case Verb::RemoveFromHives:
            return RemoveFromUserHives();
        case Verb::ResetShell:
            return AskToResetShell();
    }
}

void frmUnInstProc::RemoveFromUserHives() {
    std::vector<std::string> hives;
    if (modRegistry::EnumSubkeys(HKEY_USERS, {}, hives, modRegistry::Silent) != ERROR_SUCCESS) {
        return;
    }
    for (const std::string& hive : hives) {
        RemoveRegKey(HKEY_USERS, hive + "\\" + kProductKey, true);
        Refresh();
        RemoveRegKey(HKEY_USERS, hive + "\\" + kMakerKey, false);
        Refresh();
    }
}

void frmUnInstProc::AskToResetShell() {
    if (ShowMessage(std::string(kResetQuestion), MB_YESNO | MB_ICONQUESTION) == IDYES) {
        ResetShellIntegration();
    }
}

void frmUnInstProc::ReportOutcome() {
    if (ProblemLog.empty()) {
        ShowMessage("Die Deinstallation wurde erfolgreich abgeschlossen.", MB_OK | MB_ICONASTERISK);
        return;
    }
    frmUnInstDone done;
    const std::string_view lines(ProblemLog);
    if (!done.SetErrLog(lines.substr(0, lines.size() - 2)) || !done.Show()) {
        RaiseSystemError(GetLastError(), "frmUnInstDone");
    }
    MessageBeep(MB_ICONASTERISK);
    while (!done.Acknowledged && done.IsLoaded()) {
        forms::ProcessMessages();
        Sleep(1);
    }
}
