// The progress window. It asks the user to wait, owns the removals with their problem log, and
// its timer runs the uninstall sequence.
#pragma once

#include "platform/forms.h"
#include "uninstall/Removal.h"

class frmUnInstProc : public forms::Form {
 public:
    frmUnInstProc();

 protected:
    bool Form_Load() override;
    void Form_Timer() override { tmrInitiateUnInst_Timer(); }

 private:
    // The uninstall sequence: removes the product step by step and reports the outcome.
    // An unexpected failure ends it, and the program, with the fatal error report.
    void tmrInitiateUnInst_Timer();

    Removal removal_;
};
