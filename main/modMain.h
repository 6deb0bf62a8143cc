// The program's start: tells the first run from the relaunched copy and, in the copy, shows the
// progress window.
#pragma once

#include <string_view>

#include "platform/handles.h"
#include "uninstall/frmUnInstProc.h"

// What the relaunched copy has from its start to its end.
struct RelaunchedCopy {
    frmUnInstProc progressWindow;
    // The script that has started it, open so that nobody can change it: the interpreter goes on
    // reading it afterwards. Empty where there is no script or someone else holds it.
    handles::File script;
};

// The start procedure. arguments is the text after the program's own name, as the system hands it
// over (Windows-1252). Returns with no window open, which ends the program, or with the progress
// window of copy shown.
void Main(std::string_view arguments, RelaunchedCopy& copy);
