// The machine's clock for the other parts of this layer: as GetTickCount and Sleep, but not
// calls of the program, so that nobody counts or refuses them.
#pragma once

#include "platform/hosted/win32.h"

namespace hosted {

// Milliseconds; wraps at 2^32.
DWORD Ticks();
// Lets time pass: really, or only on a virtual clock.
void Pass(DWORD milliseconds);
// Waits in real time, whatever the machine's clock is.
void ReallyWait(DWORD milliseconds);

}  // namespace hosted
