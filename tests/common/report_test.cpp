// Texts of the system's errors, and the reports that no flow of the program shows.
#include <gtest/gtest.h>

#include "common/modGeneral.h"
#include "common/modGetErrString.h"
#include "common/modRuntimeError.h"
#include "tests/support/flow.h"

namespace support {
namespace {

using ::Fatal;

class Reports : public testing::Test {
 protected:
    Reports() { machine_.Enter(); }
    // Shows a report that does not end the program.
    std::string Show(std::uint8_t place, std::int32_t number, ShortForm shortForm,
                     const std::string& answer) {
        machine_.Answer({answer});
        ReportError(Procedure::CopyFileWithRetry, place, number, Fatal::No, shortForm);
        EXPECT_EQ(CurrentError.number, 0);
        EXPECT_EQ(machine_.Shown().size(), 1U);
        return machine_.Shown().empty() ? "" : machine_.Shown()[0];
    }
    static void Pend(std::int32_t number, std::string_view description) {
        CurrentError = {number, std::string(description)};
    }
    Machine machine_;
};

TEST_F(Reports, SystemTextsComeWithTheirCode) {
    EXPECT_EQ(GetErrString(0, ShowCode::Yes, "Fehlercode"), "");
    const std::string text = GetErrString(5, ShowCode::No, "x");
    EXPECT_TRUE(text.starts_with("\r\n\r\n")) << text;
    EXPECT_GT(text.size(), 10U);
    EXPECT_NE(text.back(), '\n');
    EXPECT_EQ(GetErrString(5, ShowCode::Yes, "Fehlercode"), text + " (Fehlercode 5)");
    EXPECT_EQ(GetErrString(-7, ShowCode::Yes, "Error code"), " (Error code -7)");
    EXPECT_EQ(GetErrString(-7, ShowCode::No, "Error code"), "");
    // Insert sequences stay as they are.
    EXPECT_NE(GetErrString(193, ShowCode::No, "x").find("%1"), std::string::npos);
}

TEST_F(Reports, OpenWithWhatIsKnown) {
    const auto box = [](const std::string& known, const std::string& place) {
        const std::string fatal = FatalMessage("", place);
        return Box('!', "*Yes No -> No: " + known + "\\n\\n" +
                            fatal.substr(fatal.find("Falls Sie")) +
                            "\\n\\nMöchten Sie diese Meldung in die Zwischenablage kopieren?");
    };
    const std::string plain = "Ein Fehler ist aufgetreten.";
    const std::string described = "Der folgende Fehler ist aufgetreten:\\n\\t";
    Pend(53, "");
    EXPECT_EQ(Show(1, 53, ShortForm::Yes, "no"), box(plain, "8:1:53"));
    Pend(52, "eine andere");
    EXPECT_EQ(Show(255, -53, ShortForm::Yes, "no"), box(plain, "8:255:-53"));
    Pend(53, FromUtf8("eins\r\nzwei\nfür drei"));
    EXPECT_EQ(Show(0, 53, ShortForm::Yes, "no"),
              box(described + "eins\\n\\tzwei\\l\\tfür drei", "8:0:53"));
    Pend(7, "Speicher");
    EXPECT_EQ(Show(1, 7, ShortForm::No, "no"), box(described + "Speicher", "8:1:7"));
    EXPECT_EQ(machine_.Clipboard(), "");
}

TEST_F(Reports, CutALongDescriptionAndCopyTheMessage) {
    Pend(53, "\n" + std::string(1000, 'x'));
    const std::string shown = Show(1, 53, ShortForm::Yes, "yes");
    EXPECT_NE(shown.find("\\t" + std::string(478, 'x') + "\\n\\nFalls"), std::string::npos)
        << shown;
    const std::string copied = machine_.Clipboard();
    EXPECT_TRUE(copied.ends_with("aufgetreten ist.\r\n")) << copied;
    EXPECT_EQ(copied.find("Zwischenablage"), std::string::npos);
}

TEST_F(Reports, OfferNothingWhenMemoryIsShort) {
    Pend(7, "Speicher");
    EXPECT_EQ(Show(1, 7, ShortForm::Yes, "ok"), Text("memory", {"8:1"}));
}

}  // namespace
}  // namespace support
