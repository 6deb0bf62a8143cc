// A list of problems may be long, so it has a dialog of its own where a run without problems
// ends with a message box.
#include "uninstall/frmUnInstDone.h"

#include <array>

#include "common/modGeneral.h"

namespace {

enum ControlIndex : std::size_t { cmdOK, lblMsg, txtErrLog };

constexpr std::array<forms::Control, 3> kControls{{
    {"cmdOK", forms::ControlKind::Button, {3600, 2940, 1215, 375}, "&OK"},
    {"lblMsg", forms::ControlKind::Label, {120, 120, 4695, 435}, ""},
    {"txtErrLog", forms::ControlKind::TextBox, {120, 660, 4695, 2115}, ""},
}};

constexpr forms::Layout kLayout{.name = "frmUnInstDone",
                                .title = AppTitle,
                                .width = 4935,
                                .height = 3435,
                                .closeBox = true,
                                .timerInterval = 0,
                                .controls = kControls};

}  // namespace

frmUnInstDone::frmUnInstDone() : Form(kLayout) {}

bool frmUnInstDone::Form_Load() {
    return SetText(lblMsg,
                   "Die Deinstallation von Tessorin ist abgeschlossen.\r\n"
                   "Folgende Probleme sind aufgetreten:");
}

bool frmUnInstDone::SetErrLog(std::string_view text) {
    return SetText(txtErrLog, text);
}

void frmUnInstDone::cmdOK_Click() {
    Acknowledged = true;
    Unload();
}
