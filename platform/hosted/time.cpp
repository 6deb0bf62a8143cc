// Time: the real one, counted from the start of the process, or a virtual one that only
// waiting moves.
#include <thread>

#include "platform/hosted/clock.h"
#include "platform/hosted/machine.h"

namespace hosted {

DWORD Ticks() {
    const Machine& machine = Machine::Current();
    const auto elapsed = std::chrono::steady_clock::now() - machine.start;
    const auto real = std::chrono::duration_cast<std::chrono::milliseconds>(elapsed).count();
    return machine.GetSettings().clockStart +
           (machine.GetSettings().realClock ? static_cast<DWORD>(real) : machine.passed);
}

void Pass(DWORD milliseconds) {
    if (Machine::Current().GetSettings().realClock) {
        ReallyWait(milliseconds);
    } else {
        Machine::Current().passed += milliseconds;
    }
}

void ReallyWait(DWORD milliseconds) {
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

}  // namespace hosted

DWORD WINAPI GetTickCount() {
    const hosted::Call call("GetTickCount");
    return hosted::Ticks();
}

void WINAPI Sleep(DWORD milliseconds) {
    const hosted::Call call("Sleep");
    hosted::Pass(milliseconds);
}
