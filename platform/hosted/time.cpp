// Time: the real one, counted from the start of the process, or a virtual one that only
// waiting moves.
#include <thread>

#include "platform/hosted/machine.h"

void hosted::Pass(DWORD milliseconds) {
    Machine& machine = Machine::Current();
    if (machine.GetSettings().realClock) {
        std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
    } else {
        machine.passed += milliseconds;
    }
}

DWORD WINAPI GetTickCount() {
    const hosted::Call call("GetTickCount");
    const hosted::Machine& machine = hosted::Machine::Current();
    const auto elapsed = std::chrono::steady_clock::now() - machine.start;
    const auto real = std::chrono::duration_cast<std::chrono::milliseconds>(elapsed).count();
    return machine.GetSettings().clockStart +
           (machine.GetSettings().realClock ? static_cast<DWORD>(real) : machine.passed);
}

void WINAPI Sleep(DWORD milliseconds) {
    const hosted::Call call("Sleep");
    hosted::Pass(milliseconds);
}
