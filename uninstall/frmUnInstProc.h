// The progress window. It asks the user to wait, owns the problem log and the removal
// operations, and its timer runs the uninstall sequence.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platform/forms.h"
#include "platform/win32.h"

struct RemovalStep;
struct EditorTexts;

class frmUnInstProc : public forms::Form {
 public:
    frmUnInstProc();

    // One line per failure, each beginning with "-> " and ending in CR LF, in the order
    // in which they happened. Stays readable after the window has been unloaded.
    std::string ProblemLog;

 protected:
    bool Form_Load() override {
        ProblemLog.clear();
        return true;
    }
    void Form_Timer() override { tmrInitiateUnInst_Timer(); }

 private:
    // The uninstall sequence: removes the product step by step and reports the outcome.
    // An unexpected failure ends it, and the program, with the fatal error report.
    void tmrInitiateUnInst_Timer();
    void RemoveProduct();
    void RunRemovalStep(const RemovalStep& step);
    void ReportOutcome();
    void RemoveFromUserHives();
    void AskToResetShell();

    // frmUnInstProc_SharedFiles.cpp: lowers the counts of the shared files by one.
    void ReleaseSharedFiles();
    bool ReleaseSharedFilesInKey(HKEY reading);
    bool LowerSharedCount(HKEY reading, HKEY writing, const std::string& valueName);

    // frmUnInstProc_Removal.cpp: each removes one item; a failure becomes a line of
    // ProblemLog, an item that is not there is success. Paths are absolute. RemoveRegValue
    // tells whether it succeeded.
    void RemoveFile(const std::string& path);
    void RemoveFolder(const std::string& path);
    void RemoveShortcut(const std::string& path);
    void SetRegValue(HKEY root, const std::string& key, const std::string& name, DWORD type,
                     std::string_view text);
    bool RemoveRegValue(HKEY root, const std::string& key, const std::string& name);
    void RemoveRegKey(HKEY root, const std::string& key, bool withSubkeys);
    void Log(std::string_view line);
    void LogNotDeleted(std::string_view kind, const std::string& name);
    void LogValue(HKEY root, const std::string& key, const std::string& name,
                  std::string_view failure);

    // frmUnInstProc_ShellReset.cpp: takes the product out of the shell's settings, each
    // only while it still points at the product.
    void ResetShellIntegration();
    void ResetContextMenus();
    void ResetBrowserEditors(const EditorTexts& texts);
    void ResetVerbs(const EditorTexts& texts);
    void ResetVerbsOf(const std::string& extension, const EditorTexts& texts);
    void PointAtNotepad(const std::string& key, const std::string& windowsFolder);
    void RemoveDefaultValueIf(HKEY root, const std::string& key, bool (*isOurs)(std::string_view));
};

// A decimal number rounded to the nearest whole one, halves to the even neighbour; blanks
// around it, a sign and a decimal point or comma are allowed. Nothing for any other text
// and outside the signed 32-bit range.
std::optional<std::int32_t> RoundedNumber(std::string_view text);
