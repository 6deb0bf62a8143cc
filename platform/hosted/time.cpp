// Time: the real one, counted from the start of the process, or a virtual one that only
// waiting moves.
#include <thread>

#include "platform/hosted/call.h"

void hosted::Pass(DWORD milliseconds) {
    Sandbox& sandbox = Sandbox::Current();
    if (sandbox.GetSettings().realClock) {
        std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
    } else {
        sandbox.passed += milliseconds;
    }
}

DWORD WINAPI GetTickCount() {
    const hosted::Call call("GetTickCount");
    const hosted::Sandbox& sandbox = hosted::Sandbox::Current();
    const auto elapsed = std::chrono::steady_clock::now() - sandbox.start;
    const auto real = std::chrono::duration_cast<std::chrono::milliseconds>(elapsed).count();
    return sandbox.GetSettings().clockStart +
           (sandbox.GetSettings().realClock ? static_cast<DWORD>(real) : sandbox.passed);
}

void WINAPI Sleep(DWORD milliseconds) {
    const hosted::Call call("Sleep");
    hosted::Pass(milliseconds);
}
