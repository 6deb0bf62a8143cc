// The completion dialog: lists the problems and waits for the user to confirm it.
#pragma once

#include <string_view>

#include "platform/forms.h"

class frmUnInstDone : public forms::Form {
 public:
    frmUnInstDone();

    // True once the user has confirmed or closed the dialog; kept after it is unloaded.
    bool Acknowledged = false;

    // Fills the list of problems, loading the dialog if needed. False if that fails.
    [[nodiscard]] bool SetErrLog(std::string_view text);

 protected:
    bool Form_Load() override;
    void Button_Click() override { cmdOK_Click(); }
    void Form_Close() override { cmdOK_Click(); }

 private:
    void cmdOK_Click();
};
