// Time: the real one, counted from the start of the process, or a virtual one that only
// Sleep moves.
#include <chrono>
#include <thread>

#include "platform/hosted/clock.h"
#include "platform/hosted/machine.h"

namespace hosted {
namespace {

constexpr unsigned kLooksForAMillisecond = 1000;

struct Clock {
    std::chrono::steady_clock::time_point start = std::chrono::steady_clock::now();
    DWORD passed = 0;    // of a virtual clock, milliseconds
    unsigned looks = 0;  // since it last moved by itself
};

Clock& TheClock() {
    return Machine::Current().Part<Clock>();
}

}  // namespace

DWORD Ticks() {
    const Settings& settings = Machine::Current().GetSettings();
    const Clock& clock = TheClock();
    if (!settings.realClock) {
        return settings.clockStart + clock.passed;
    }
    const auto elapsed = std::chrono::steady_clock::now() - clock.start;
    const auto count = std::chrono::duration_cast<std::chrono::milliseconds>(elapsed).count();
    return settings.clockStart + static_cast<DWORD>(count);
}

void Pass(DWORD milliseconds) {
    Clock& clock = TheClock();
    if (Machine::Current().GetSettings().realClock) {
        ReallyWait(milliseconds);
    } else {
        clock.passed += milliseconds;
    }
}

void ReallyWait(DWORD milliseconds) {
    if (milliseconds == 0) {
        std::this_thread::yield();
    } else {
        std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
    }
}

}  // namespace hosted

DWORD WINAPI GetTickCount() {
    const hosted::Call call("GetTickCount");
    // A loop that looks at the clock without ever sleeping must end on a virtual one too.
    auto& clock = hosted::TheClock();
    if (++clock.looks == hosted::kLooksForAMillisecond) {
        clock.looks = 0;
        ++clock.passed;
    }
    return hosted::Ticks();
}

void WINAPI Sleep(DWORD milliseconds) {
    const hosted::Call call("Sleep");
    hosted::Pass(milliseconds);
}
