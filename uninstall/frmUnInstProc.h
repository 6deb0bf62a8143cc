// The progress window. It asks the user to wait, owns the problem log and the removal
// operations, and its timer runs the uninstall sequence.
#pragma once

#include <string>
#include <string_view>

#include "common/modRuntimeError.h"
#include "platform/forms.h"
#include "platform/win32.h"

enum class Subkeys { Remove, MustNotExist };  // what RemoveRegKey does about them

class frmUnInstProc : public forms::Form {
 public:
    frmUnInstProc();

    // One line per failure, each beginning with "-> " and ending in CR LF, in the order
    // in which they happened. Stays readable after the window has been unloaded.
    std::string ProblemLog;
    void Log(std::string_view line);

    // ---- frmUnInstProc_Removal.cpp: each removes one item; a failure becomes a line of
    // ProblemLog, an item that is not there is success. Paths are absolute.

    // An error when the system cannot tell whether the item is gone.
    RuntimeError RemoveFile(const std::string& path);
    RuntimeError RemoveFolder(const std::string& path);
    RuntimeError RemoveShortcut(const std::string& path);

    // True if something has been changed.
    bool SetRegValue(HKEY root, const std::string& key, const std::string& name, DWORD type,
                     std::string_view text);
    bool RemoveRegValue(HKEY root, const std::string& key, const std::string& name);
    bool RemoveRegKey(HKEY root, const std::string& key, Subkeys subkeys);
    void LogValueNotWritten(HKEY root, const std::string& key, const std::string& name);

    // ---- frmUnInstProc_SharedFiles.cpp: lowers the counts of the shared files by one.
    void ReleaseSharedFiles();

    // ---- frmUnInstProc_ShellReset.cpp: takes the product out of the shell's settings, each
    // only while it still points at the product.
    void ResetShellIntegration();

 protected:
    bool Form_Load() override;
    void Form_Timer() override { tmrInitiateUnInst_Timer(); }

 private:
    // The uninstall sequence: removes the product step by step and reports the outcome.
    // An unexpected failure ends it, and the program, with the fatal error report.
    void tmrInitiateUnInst_Timer();
};
