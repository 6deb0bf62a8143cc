// The machine's clock for the other parts of this layer.
#pragma once

#include "platform/hosted/win32.h"

namespace hosted {

// Lets time pass as Sleep does, but is no call of the program: nobody counts or refuses it.
void Pass(DWORD milliseconds);

}  // namespace hosted
