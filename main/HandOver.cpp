// Three processes, because a program file cannot be deleted while it runs.
//
// The first run lies in the folder that is to be removed. It copies itself into the temporary
// folder and writes a script beside the copy: UnInstall.bat, and UnInstall.pif, from which older
// systems take the settings of the script's window. It starts the script and ends, so that its own
// file can go.
//
// The script deletes the record, which nobody reads any more, starts the copy and waits for it. It
// is needed because the copy is a program file as well: when the copy has ended, the script
// deletes it, and then itself. A script can do that, the interpreter has read its last line.
//
// The copy removes the product, the first run's file included. Until the first run has quite
// ended that file is in use; the copy's deletions wait half a second for such things.
#include "main/HandOver.h"

#include "common/Product.h"
#include "common/modGeneral.h"
#include "common/modGetShortPathAlways.h"
#include "common/modPath.h"
#include "common/modText.h"
#include "main/Places.h"
#include "main/Script.h"
#include "main/modFile.h"
#include "main/modResToFile.h"

namespace {

constexpr WORD kRecordId = 101;

bool UserConfirms() {
    return ShowMessage("Sind Sie sicher, dass Tessorin deinstalliert werden soll?",
                       MB_YESNO | MB_ICONEXCLAMATION) == IDYES;
}

bool UserRetries() {
    return ShowMessage(
               "Tessorin kann derzeit nicht deinstalliert werden. Wahrscheinlich wird das Programm "
               "noch ausgeführt oder Sie haben nicht die erforderlichen Berechtigungen, um es zu "
               "deinstallieren.\r\n\r\n"
               "Falls das Programm noch ausgeführt wird, beenden Sie es bitte und klicken dann auf "
               "\"Wiederholen\", um mit der Deinstallation fortzufahren.",
               MB_RETRYCANCEL | MB_ICONEXCLAMATION) == IDRETRY;
}

// Waits until the editor is not in use. False if the user gives up.
bool EditorIsFree() {
    do {
        const std::string editor = AddBackslash(Defer(OwnFile()).folder) + Product::Program;
        Result<std::string> found = LookUp(editor, kFileMask);
        const bool missing = !found.Failed() && found.value.empty();
        Defer(std::move(found.error));
        if (missing || CanOpenForWriting(editor)) {
            return true;
        }
    } while (UserRetries());
    return false;
}

// Refuses what the script could not name. A short form that cannot be had is no refusal: then the
// script stays empty, and the failure is reported after it.
RuntimeError CheckFolders(const std::string& TempFolder, const Result<std::string>& shortTempFolder,
                          const std::string& ownFolder) {
    if (TempFolder.empty() || ownFolder.empty()) {
        // The files would be looked for in the current folder, whatever that is.
        return SystemError(ERROR_PATH_NOT_FOUND, Product::Copy);
    }
    return shortTempFolder.Failed() ? RuntimeError{}
                                    : CheckScriptFolders(shortTempFolder.value, ownFolder);
}

}  // namespace

void FirstRun() {
    const std::string TempFolder = TempFolderPath();
    if (!UserConfirms() || !EditorIsFree()) {
        return;
    }
    const OwnLocation own = Defer(OwnFile());
    Result<std::string> shortTempFolder = GetShortPathAlways(TempFolder);
    RuntimeError refusal = CheckFolders(TempFolder, shortTempFolder, own.folder);
    if (refusal.Failed()) {
        Defer(std::move(refusal));
        CheckPoint(Procedure::Main, 2);  // before anything is made that could not be used
    }
    if (!CopyFileWithRetry(Joined({AddBackslash(own.folder), own.name, ".exe"}),
                           TempFolder + Product::Copy, Target::Overwrite)) {
        return;
    }
    const std::string shortFolder = Defer(std::move(shortTempFolder));
    Defer(WriteScript(
        TempFolder + Product::Script,
        shortFolder.empty() ? std::string() : BuildScript(TempFolder, shortFolder, own.folder)));
    CheckPoint(Procedure::Main, 2);
    Defer(ResToFile(TempFolder + Product::ScriptRecord, kRecordId, "Custom", Existing::Replace));
    CheckPoint(Procedure::Main, 3);
    Defer(StartScript(shortFolder + Product::Script));
    CheckPoint(Procedure::Main, 4);
}
