// Message boxes, windows, the clock, the clipboard and the system's texts as the hosted
// machine has them, where no flow of the program reaches.
#include <cstring>
#include <fstream>
#include <functional>
#include <thread>

#include "platform/ansi.h"
#include "platform/forms.h"
#include "platform/hosted/machine.h"
#include "tests/support/flow.h"
#include "tools/machine/stage.h"

namespace support {
namespace {

constexpr UINT kRetryBox = MB_RETRYCANCEL | MB_ICONEXCLAMATION | MB_DEFBUTTON2;

constexpr std::array<forms::Control, 2> kControls{{
    {"cmdGo", forms::ControlKind::Button, {0, 300, 900, 300}, "&Weiter"},
    {"lblText", forms::ControlKind::Label, {0, 0, 900, 300}, "anfangs"},
}};
constexpr forms::Layout kLayout{"frmTest", "UnInstaller", 900, 600, true, 40, kControls};

class TestForm : public forms::Form {
 public:
    TestForm() : Form(kLayout) {}
    std::function<void()> onTimer = [] {};
    unsigned timers = 0, clicks = 0, closes = 0;

 private:
    void Form_Timer() override {
        ++timers;
        onTimer();
    }
    void Button_Click() override {
        ++clicks;
        Unload();
    }
    void Form_Close() override { ++closes; }  // stays loaded
};

class HostedWindows : public testing::Test {
 protected:
    HostedWindows() {
        machine_.Setting("clock", "start=4294967290");
        machine_.Enter();
        // Without answers a terminal that the suite runs in would be asked.
        machine_.Answer(std::vector<std::string>(100, "enter"));
    }
    static int AskRetry() { return MessageBoxA(nullptr, "?", "UnInstaller", kRetryBox); }
    std::string Log() const {
        const std::string file = machine_.HostFolder() + "/log.txt";
        return std::ifstream(file) ? ReadBytes(file) : "";
    }
    Machine machine_;
};

TEST_F(HostedWindows, ABoxGivesTheButtonThatItIsAnsweredWith) {
    const std::vector<std::pair<std::string, int>> answers{
        {"retry", IDRETRY}, {"", IDCANCEL}, {"ESCAPE", IDCANCEL}, {"=99", 99}, {"fail", 0}};
    for (const auto& [answer, expected] : answers) {
        machine_.Answer({answer});
        EXPECT_EQ(AskRetry(), expected) << answer;
    }
    machine_.Answer({"escape"});  // a box with Yes and No ignores that key
    EXPECT_EQ(MessageBoxA(nullptr, "?", "UnInstaller", MB_YESNO), IDYES);
    EXPECT_EQ(Log(), "answer \"escape\" does not fit: the box has yes no\n");
}

TEST_F(HostedWindows, AnAnswerMayKeepAQuestionWaiting) {
    machine_.Answer({"wait"});
    const std::string file = machine_.HostFolder() + "/answers.txt";
    const auto start = std::chrono::steady_clock::now();
    std::thread other([&file] {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        WriteBytes(file + "2", "retry\nenter\n");
        std::filesystem::rename(file + "2", file);
    });
    EXPECT_EQ(AskRetry(), IDRETRY);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(50));
    other.join();
    EXPECT_EQ(ReadBytes(file), "enter\n");
}

TEST_F(HostedWindows, TheTimerFiresOnceForEachLoad) {
    TestForm form;
    ASSERT_TRUE(form.Load());
    form.onTimer = [&form] {
        if (form.timers < 3) {
            Sleep(100);
            forms::ProcessMessages();
        }
    };
    forms::ProcessMessages();
    EXPECT_EQ(form.timers, 0U);  // 40 milliseconds have not passed
    forms::RunMessageLoop();     // not shown: it has nothing to wait for but the timer
    EXPECT_EQ(form.timers, 1U);
    form.Unload();
    ASSERT_TRUE(form.Load());
    Sleep(40);
    forms::ProcessMessages();
    EXPECT_EQ(form.timers, 2U);
}

TEST_F(HostedWindows, AShownWindowIsWhatTheUserActsOn) {
    TestForm below;
    TestForm form;
    EXPECT_EQ(forms::OwnerWindow(), nullptr);
    ASSERT_TRUE(below.Show());
    const HWND first = forms::OwnerWindow();
    EXPECT_NE(first, nullptr);
    ASSERT_TRUE(form.Show());
    EXPECT_NE(forms::OwnerWindow(), first);
    machine_.Answer({"close", "yes", "alt+o"});
    ASSERT_TRUE(form.SetText(1, "später"_ansi));
    forms::ProcessMessages();
    EXPECT_EQ(form.closes, 1U);
    EXPECT_TRUE(form.IsLoaded());
    forms::ProcessMessages();  // what does not fit becomes the button
    EXPECT_EQ(form.clicks, 1U);
    EXPECT_FALSE(form.IsLoaded());
    EXPECT_EQ(forms::OwnerWindow(), first);
    EXPECT_EQ(below.clicks, 0U);
    forms::RunMessageLoop();
    EXPECT_EQ(below.clicks, 1U);
    EXPECT_NE(Log().find("\"yes\" does not fit"), std::string::npos);
}

TEST_F(HostedWindows, AWindowThatCannotBeMadeSaysWhy) {
    machine_.Setting("faults", "* CreateWindowExA 1 *=8");
    machine_.Setting("faults", "* SetWindowTextA 1 *=14");
    machine_.Enter();
    TestForm form;
    EXPECT_FALSE(form.Show());
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_NOT_ENOUGH_MEMORY));
    EXPECT_FALSE(form.SetText(1, "x"));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_OUTOFMEMORY));
    EXPECT_TRUE(form.IsLoaded());
}

TEST_F(HostedWindows, AVirtualClockMovesBySleepingOrLookingAtIt) {
    const DWORD start = GetTickCount();
    EXPECT_EQ(start, 4294967290U);
    Sleep(3600000);
    EXPECT_EQ(GetTickCount() - start, 3600000U);  // across the wrap, and at once
    const DWORD now = GetTickCount();
    for (unsigned i = 0; GetTickCount() == now; ++i) {
        ASSERT_LT(i, 2000U) << "a loop without Sleep does not end";
    }
}

TEST_F(HostedWindows, TheClipboardTakesMemoryOver) {
    constexpr std::string_view kText("Größe €\r\n\0dahinter", 21);
    const HGLOBAL memory = GlobalAlloc(GMEM_MOVEABLE, kText.size());
    std::memcpy(GlobalLock(memory), kText.data(), kText.size());
    GlobalUnlock(memory);
    EXPECT_EQ(SetClipboardData(CF_TEXT, memory), nullptr);  // not open
    TestForm form;
    ASSERT_TRUE(form.Show());
    ASSERT_TRUE(OpenClipboard(forms::OwnerWindow()));
    EXPECT_FALSE(OpenClipboard(nullptr));
    ASSERT_TRUE(EmptyClipboard());
    EXPECT_EQ(SetClipboardData(CF_TEXT, memory), memory);
    EXPECT_EQ(Log(), "");
    EXPECT_EQ(GlobalFree(memory), memory);  // the clipboard's now
    EXPECT_NE(Log().find("GlobalFree of memory that is the clipboard's"), std::string::npos);
    ASSERT_TRUE(EmptyClipboard());
    EXPECT_EQ(machine_.Clipboard(), "");
    EXPECT_TRUE(CloseClipboard());
    const HGLOBAL other = GlobalAlloc(GMEM_MOVEABLE, 1);
    EXPECT_EQ(GlobalFree(other), nullptr);
    EXPECT_EQ(GlobalFree(other), other);
    EXPECT_EQ(GlobalLock(other), nullptr);
    EXPECT_NE(Log().find("GlobalLock of memory that is not there"), std::string::npos);
}

TEST_F(HostedWindows, SystemTextsComeWholeOrNotAtAll) {
    constexpr DWORD kPlain = FORMAT_MESSAGE_FROM_SYSTEM;
    constexpr DWORD kAsItStands = kPlain | FORMAT_MESSAGE_IGNORE_INSERTS;
    const auto format = [](DWORD flags, DWORD code, DWORD size) {
        std::string text(size, '#');
        const DWORD length = FormatMessageA(flags, nullptr, code, 0, text.data(), size, nullptr);
        return text.substr(0, length);
    };
    const std::string denied = "Zugriff verweigert\r\n";
    const auto length = static_cast<DWORD>(denied.size());
    EXPECT_EQ(format(kPlain, 5, length + 1), denied);
    EXPECT_EQ(format(kPlain, 5, length), "");
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INSUFFICIENT_BUFFER));
    EXPECT_EQ(format(kPlain, 999999, 100), "");
    EXPECT_EQ(GetLastError(), 317U);
    // There is nothing to insert, so nothing may be read for it.
    EXPECT_EQ(format(kPlain, 193, 100), "");
    EXPECT_EQ(AnsiToUtf8(format(kAsItStands, 193, 100)),
              "%1 ist keine zulässige Win32-Anwendung.\r\n");
}

}  // namespace
}  // namespace support
