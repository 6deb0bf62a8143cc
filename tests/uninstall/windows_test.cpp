// Where the program's windows open on a real screen: in front of other programs, whose windows
// may be slow to notice, and with a button in the task bar where no form is there to belong to.
#include <future>
#include <thread>

#include "platform/win32.h"
#include "tests/support/flow.h"

namespace support {
namespace {

// The window of a program that looks at its messages only now and then. It is in front at
// first, so that the system goes back to it.
class OtherProgram {
 public:
    OtherProgram() : window_(made_.get_future().get()) {}
    [[nodiscard]] HWND Window() const { return window_; }

 private:
    void Live(const std::stop_token& stop) {
        HWND own = CreateWindowExA(0, "Static", "Other", WS_OVERLAPPEDWINDOW | WS_VISIBLE, 0, 0,
                                   800, 600, nullptr, nullptr, nullptr, nullptr);
        SetForegroundWindow(own);
        made_.set_value(own);
        for (MSG message; !stop.stop_requested(); Sleep(50)) {
            while (PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE) != FALSE) {
                DispatchMessageA(&message);
            }
        }
        DestroyWindow(own);
    }

    std::promise<HWND> made_;
    std::jthread thread_{[this](const std::stop_token& stop) { Live(stop); }};
    HWND window_;
};

bool IsAbove(HWND window, HWND other) {
    HWND one = GetTopWindow(nullptr);
    while (one != window && one != other && one != nullptr) {
        one = GetWindow(one, GW_HWNDNEXT);
    }
    return one == window;
}

// The question that waits for its answer is in front, or comes there: one that is behind stays
// there, so the limit ends only what has failed.
void ExpectInFront(HWND other, bool hasForm) {
    HWND shown = FindWindowA("#32770", "UnInstaller");
    bool inFront = false;
    const DWORD start = GetTickCount();
    do {
        Sleep(5);
        // Answered once the other program has noticed what has happened to its window so far.
        SendMessageA(other, WM_NULL, 0, 0);
        inFront = GetForegroundWindow() == shown && IsAbove(shown, other);
    } while (!inFront && GetTickCount() - start < 10'000);
    EXPECT_TRUE(inFront);
    EXPECT_EQ(GetWindow(shown, GW_OWNER) != nullptr, hasForm);
    EXPECT_EQ(GetWindowLongA(shown, GWL_EXSTYLE) & WS_EX_TOOLWINDOW, 0);
}

// At the next question and those that follow: whether each belongs to the progress window.
void LookAt(Fixture& fixture, const OtherProgram& other, const std::vector<bool>& forms) {
    fixture.Meanwhile("", [&fixture, &other, forms] {
        ExpectInFront(other.Window(), forms.front());
        if (forms.size() > 1) {
            LookAt(fixture, other, {forms.begin() + 1, forms.end()});
        }
    });
}

TEST(Windows, OpenInFrontOfOtherProgramsAndInTheTaskBar) {
    for (const bool problems : {false, true}) {
        SCOPED_TRACE(problems ? "completion dialog" : "success");
        Fixture fixture;
        const OtherProgram other;
        LookAt(fixture, other, {false});
        fixture.RunFirst({"no"});
        if (problems) {
            fixture.HoldOpen(kEditor);
        }
        LookAt(fixture, other, {true, true, false});
        const Outcome outcome = fixture.RunCopy({"yes", "no"});
        ASSERT_EQ(outcome.shown.size(), 4U);
        EXPECT_EQ(outcome.shown.back() == Success(), !problems);
    }
}

}  // namespace
}  // namespace support
