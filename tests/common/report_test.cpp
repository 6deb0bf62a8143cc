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
    Reports() { fixture_.Enter(); }
    // Shows a report that does not end the program.
    std::string Show(std::uint8_t place, std::int32_t number, ShortForm shortForm,
                     const std::string& answer) {
        fixture_.Answer({answer});
        ReportError(Procedure::CopyFileWithRetry, place, number, Fatal::No, shortForm);
        EXPECT_EQ(CurrentError.number, 0);
        EXPECT_EQ(fixture_.Shown().size(), 1U);
        return fixture_.Shown().empty() ? "" : fixture_.Shown()[0];
    }
    static void Pend(std::int32_t number, std::string_view description) {
        CurrentError = {number, std::string(description)};
    }
    Fixture fixture_;
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
    // The text of 193 has an insert sequence, which nobody fills.
    EXPECT_EQ(GetErrString(193, ShowCode::Yes, "Fehlercode"), " (Fehlercode 193)");
}

// Every code that has a meaning of its own, and one that has none.
TEST_F(Reports, TellWhatACodeMeans) {
    struct Meaning {
        DWORD code;
        std::int32_t number;
        const char* text;
    };
    const Meaning meanings[] = {
        {2, 53, "Datei nicht gefunden"},
        {3, 76, "Pfad nicht gefunden"},
        {267, 76, "Pfad nicht gefunden"},
        {4, 67, "Zu viele Dateien"},
        {8, 7, "Nicht genügend Arbeitsspeicher"},
        {14, 7, "Nicht genügend Arbeitsspeicher"},
        {19, 70, "Zugriff verweigert"},
        {32, 70, "Zugriff verweigert"},
        {33, 70, "Zugriff verweigert"},
        {21, 71, "Datenträger nicht bereit"},
        {39, 61, "Datenträger voll"},
        {112, 61, "Datenträger voll"},
        {123, 52, "Dateiname falsch"},
        {206, 52, "Dateiname falsch"},
        {80, 58, "Datei existiert bereits"},
        {183, 58, "Datei existiert bereits"},
        {1812, 326, "Ressource nicht gefunden"},
        {1813, 326, "Ressource nicht gefunden"},
        {1814, 326, "Ressource nicht gefunden"},
        {5, 75, "Fehler beim Zugriff auf Pfad/Datei"},
    };
    for (const auto& [code, number, text] : meanings) {
        const RuntimeError error = SystemError(code, "C:\\x");
        EXPECT_EQ(error.number, number) << code;
        EXPECT_EQ(
            ToUtf8(error.description),
            text + std::string(": \"C:\\x\"") +
                ToUtf8(GetErrString(static_cast<std::int32_t>(code), ShowCode::Yes, "Fehlercode")));
    }
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
    EXPECT_EQ(fixture_.Clipboard(), "");
}

TEST_F(Reports, CutALongDescriptionAndCopyTheMessage) {
    Pend(53, "\n" + std::string(1000, 'x'));
    const std::string shown = Show(1, 53, ShortForm::Yes, "yes");
    EXPECT_NE(shown.find("\\t" + std::string(478, 'x') + "\\n\\nFalls"), std::string::npos)
        << shown;
    const std::string copied = fixture_.Clipboard();
    EXPECT_TRUE(copied.ends_with("aufgetreten ist.\r\n")) << copied;
    EXPECT_EQ(copied.find("Zwischenablage"), std::string::npos);
}

TEST_F(Reports, OfferNothingWhenMemoryIsShort) {
    Pend(7, "Speicher");
    EXPECT_EQ(Show(1, 7, ShortForm::Yes, "ok"), Text("memory", {"8:1"}));
}

}  // namespace
}  // namespace support
