// The product's traces in the shell's settings: menus, icons, editors, file types.
#pragma once

#include "uninstall/Removal.h"

// Takes the product out of each setting that still points at it; the others stay. What fails is
// logged. Reads of some settings may show the registry report, whose Abort ends the program.
void ResetShellIntegration(Removal& removal);
