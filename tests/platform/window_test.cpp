// Windows and message boxes of the hosted machine.
#include <array>

#include "platform/forms.h"
#include "platform/hosted/machine.h"
#include "tests/support/flow.h"
#include "tools/machine/stage.h"

namespace support {
namespace {

constexpr std::array<forms::Control, 1> kControls{{
    {"cmdGo", forms::ControlKind::Button, {0, 300, 900, 300}, "&Weiter"},
}};
constexpr forms::Layout kLayout{"frmTest", "UnInstaller", 900, 600, true, 40, kControls};

// What happened to it, in order; "?" where the layer forgot that the program runs.
class TestForm : public forms::Form {
 public:
    TestForm() : Form(kLayout) {}
    std::string events;

 private:
    void Happened(const char* event) { events += hosted::InProgram() ? event : "?"; }
    bool Form_Load() override {
        Happened("load ");
        return true;
    }
    void Form_Timer() override {
        Happened("timer ");
        Sleep(100);
        forms::ProcessMessages();  // not once more
    }
    void Button_Click() override {
        Happened("click ");
        Unload();
    }
    void Form_Close() override { Happened("close "); }  // stays loaded
};

TEST(HostedWindows, TheUserActsOnTheOneShownLast) {
    Machine machine;
    machine.Enter();
    TestForm below;
    TestForm form;
    const HWND hidden = forms::OwnerWindow();
    ASSERT_TRUE(below.Load());
    forms::ProcessMessages();
    forms::ProcessMessages();  // not shown: nobody can do anything to it
    EXPECT_EQ(below.events, "load timer ");
    ASSERT_TRUE(below.Show());
    const HWND first = forms::OwnerWindow();
    EXPECT_TRUE(hidden != nullptr && first != hidden);
    ASSERT_TRUE(form.Show());
    EXPECT_NE(forms::OwnerWindow(), first);
    machine.Answer({"close", "yes", "alt+o"});
    forms::ProcessMessages();  // the timer, and in it the first answer
    forms::ProcessMessages();  // what does not fit becomes the button
    EXPECT_EQ(form.events, "load timer close click ");
    EXPECT_FALSE(form.IsLoaded());
    EXPECT_EQ(forms::OwnerWindow(), first);
    forms::RunMessageLoop();
    EXPECT_EQ(below.events, "load timer click ");
    EXPECT_EQ(forms::OwnerWindow(), hidden);
    ASSERT_TRUE(form.Load());
    machine.Answer({"ok"});  // the timer runs anew
    ASSERT_TRUE(form.Show());
    forms::RunMessageLoop();
    EXPECT_EQ(form.events, "load timer close click load timer click ");
}

TEST(HostedWindows, EscapeCancelsABoxThatCanBeCancelled) {
    Machine machine;
    machine.Enter();
    machine.Answer({"Escape", "escape"});
    EXPECT_EQ(MessageBoxA(nullptr, "?", "", MB_RETRYCANCEL), IDCANCEL);
    EXPECT_EQ(MessageBoxA(nullptr, "?", "", MB_YESNO), IDYES);
    EXPECT_EQ(machine.Shown()[1], "an answer that does not fit: escape");
}

// The report comes when the progress window is gone: the clipboard belongs to the hidden
// window, and to nobody where that cannot be made.
TEST(HostedWindows, TheClipboardTakesAReportWithoutAWindow) {
    for (const bool refused : {false, true}) {
        SCOPED_TRACE(refused);
        Machine machine;
        machine.Attributes(kProgramFolder + "\\Tessorin.exe", "R");
        machine.Setting("faults", "copy SetWindowTextA * lblMsg=1450");
        if (refused) {
            machine.Setting("faults", "copy CreateWindowExA * owner=8");
        }
        const Outcome outcome = machine.RunCopy({});
        EXPECT_EQ(outcome.status, 1);
        EXPECT_EQ(outcome.errors, "");
        ASSERT_EQ(outcome.shown.size(), 4U);
        EXPECT_NE(outcome.shown[3].find("(Fehlercode 1450)"), std::string::npos);
        EXPECT_EQ(machine.Clipboard().empty(), refused);
    }
}

// Abort and a fatal report end the program where it stands, with its window open.
TEST(HostedWindows, NothingIsUnloadedByTheEndOfTheProgram) {
    const std::vector<std::pair<const char*, const char*>> ends{
        {"denied", "HKEY_LOCAL_MACHINE\\Software\\Classes\\*\\Shell=query"},
        {"faults", "copy FindFirstFileA * C:\\Programme\\Büro Tessorin\\Tessorin.exe=21"}};
    for (const auto& [section, line] : ends) {
        SCOPED_TRACE(section);
        Machine machine;
        machine.Setting(section, line);
        EXPECT_EQ(machine.RunCopy({"yes", "yes", "abort"}).status, 1);
        const std::string transcript = ReadBytes(machine.HostFolder() + "/transcript.txt");
        EXPECT_NE(transcript.find("load\tcopy\tfrmUnInstProc"), std::string::npos);
        EXPECT_EQ(transcript.find("unload"), std::string::npos) << transcript;
    }
}

}  // namespace
}  // namespace support
