// What no flow of the program reaches: the registry operations' other options and the
// other kinds of reports.
#include "registry/modRegistry.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

#include "tests/support/flow.h"

namespace support {
namespace {

using namespace modRegistry;

const std::string kArea = "Software\\Textwerk Test";
const std::string kFull = kHklm + kArea;

class Registry : public testing::Test {
 protected:
    Registry() { fixture_.Enter(); }
    LONG Write(const std::string& name, DWORD type, const std::string& text) {
        return WriteValue(HKEY_LOCAL_MACHINE, kArea, name, type, text, Silent);
    }
    Fixture fixture_;
};

TEST_F(Registry, StoresTextsAndNumbers) {
    fixture_.Key(kFull);
    const auto expect = [this](DWORD type, const std::string& text, const std::string& stored) {
        EXPECT_EQ(Write("b", type, text), 0);
        EXPECT_EQ(fixture_.Look().keys.at(kFull).at("b"), stored);
    };
    expect(REG_SZ, FromUtf8("für \"alle\""), R"("für \"alle\"")");
    expect(REG_SZ, "", "\"\"");
    expect(REG_DWORD, "2147483647", "dword:7fffffff");
    expect(REG_BINARY, "0", "hex:00");
    expect(REG_BINARY, "255", "hex:ff");
    expect(REG_BINARY, "256", "hex:00,01");
    expect(REG_BINARY, "16777216", "hex:00,00,00,01");
    const State before = fixture_.Look();
    for (const std::string& text : Lines{"", "-1", "2147483648", "1.5", "x", " 1"}) {
        EXPECT_EQ(Write("b", REG_DWORD, text), ERROR_INVALID_PARAMETER) << text;
    }
    EXPECT_EQ(Write("b", REG_EXPAND_SZ, "x"), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(WriteValue(HKEY_LOCAL_MACHINE, kArea + "\\fehlt", "", REG_SZ, "x", Silent), 2);
    ExpectChanges({}, Difference(before, fixture_.Look()));
}

// The counts of the shared files show the rest.
TEST_F(Registry, ReadsEveryTypeAsText) {
    const std::vector<std::pair<std::string, std::string>> table{
        {R"("Tessorin")", "Tessorin"},
        {"hex(1):", ""},
        {"hex(1):61,00,62,00", std::string("a\0b", 3)},
        {"hex(2):25,41,25,00", "%A%"},
        {"dword:80000000", "-2147483648"},
        {"hex:ff", "255"},
        {"hex:61,62,63,64,65", "abcde"},
        {"hex(7):61,00,00", ""},
    };
    std::string read;
    for (const auto& [stored, text] : table) {
        fixture_.Value(kFull, "w", stored);
        EXPECT_EQ(ReadValue(HKEY_LOCAL_MACHINE, kArea, "w", read, Silent), 0) << stored;
        EXPECT_EQ(read, text) << stored;
    }
    // The last byte goes unseen. (Some systems add a terminator that was not stored.)
    EXPECT_EQ(ValueTextFromData(REG_SZ, "ab"), "a");
    for (const std::string& key : {kArea, kArea + "\\fehlt"}) {
        read = "old";
        EXPECT_EQ(ReadValue(HKEY_LOCAL_MACHINE, key, "fehlt", read, ShowErrors), 2);
        EXPECT_EQ(read, "");
    }
    EXPECT_EQ(fixture_.Shown(), Lines{});
}

TEST_F(Registry, CreatesListsAndDeletesWholeTrees) {
    const HKEY root = HKEY_LOCAL_MACHINE;
    const std::string area = "key HKLM\\" + kArea;
    fixture_.Value(kFull + "\\A", "w", "\"bleibt\"").Key(kFull + "\\B\\E").Key(kFull + "\\Bx");
    const State before = fixture_.Look();
    handles::Key key;
    EXPECT_EQ(OpenKeyForWriting(root, kArea + "\\B\\C\\D", key, Silent), 2);
    EXPECT_EQ(CreateKeyPath(root, "", ShowErrors), 0);
    ExpectChanges({}, Difference(before, fixture_.Look()));
    EXPECT_EQ(OpenKeyForWriting(root, kArea + "\\B\\C\\D", key, CreateMissing), 0);
    EXPECT_TRUE(static_cast<bool>(key));
    ExpectChanges({"+ " + area + "\\B\\C", "+ " + area + "\\B\\C\\D"},
                  Difference(before, fixture_.Look()));

    std::vector<std::string> names;
    EXPECT_EQ(EnumSubkeys(root, kArea, names, Silent), 0);
    std::sort(names.begin(), names.end());
    EXPECT_EQ(names, (Lines{"A", "B", "Bx"}));
    EXPECT_EQ(EnumSubkeys(root, kArea + "\\Bx", names, Silent), 0);
    EXPECT_TRUE(names.empty());
    EXPECT_EQ(EnumSubkeys(root, kArea + "\\fehlt", names, Silent), 2);
    EXPECT_EQ(DeleteKeyTree(root, kArea + "\\B", Silent), 0);
    EXPECT_EQ(DeleteKeyTree(root, kArea + "\\B", ShowErrors), 2);
    EXPECT_EQ(DeleteKeyTree(root, "", ShowErrors | IgnoreDenied), 87);
    ExpectChanges({"- " + area + "\\B"}, Difference(before, fixture_.Look()));
}

TEST_F(Registry, ReportsEachKindOfFailure) {
    const std::string denied = " werden.\\n\\nZugriff verweigert (Fehler 5)";
    const std::string missing =
        " werden.\\n\\nDer Registrierungsschlüssel ist nicht vorhanden. (Fehler 2)";
    const std::string key = R"("HKEY_CURRENT_USER\A\B" konnte)";
    const std::string whole = "Der Registrierungsschlüssel " + key;
    const std::string value = "Der Registrierungswert ";
    const std::string in = " im Schlüssel " + key;
    const auto expect = [this](RegOp kind, const char* name, LONG code, char icon,
                               const std::string& failure) {
        fixture_.Answer({"ignore"});
        EXPECT_FALSE(ReportRegError(kind, name, HKEY_CURRENT_USER, "A\\B", code));
        const std::string text = failure + Text("abort") + (icon == 'x' ? Text("ignore") : "");
        EXPECT_EQ(fixture_.Shown(), Lines{Box(icon, "Abort *Retry Ignore -> Ignore: " + text)});
    };
    expect(RegOpRead, "", 5, 'x', value + "(Standard)" + in + " nicht gelesen" + denied);
    expect(RegOpWrite, "a b", 2, '!', value + "\"a b\"" + in + " nicht geschrieben" + missing);
    expect(RegOpDeleteValue, "w", 5, '!', value + "\"w\"" + in + " nicht gelöscht" + denied);
    expect(RegOpCreateKey, "", 5, '!', whole + " nicht erstellt" + denied);
    expect(RegOpDeleteKey, "", 99999, '!', whole + " nicht gelöscht werden. (Fehler 99999)");
    expect(
        RegOpEnumSubkeys, "", 2, 'x',
        "Die Unterschlüssel des Registrierungsschlüssels " + key + "n nicht aufgelistet" + missing);
    expect(RegOpOpenForReading, "", 5, 'x',
           whole + " nicht mit Lesezugriffsrechten geöffnet" + denied);
    expect(RegOpOpenForWriting, "", 5, '!',
           whole + " nicht mit Schreibzugriffsrechten geöffnet" + denied);
    fixture_.Answer({"retry"});
    EXPECT_TRUE(ReportRegError(RegOpDeleteKey, "", HKEY_USERS, "", 5));
    ASSERT_EQ(fixture_.Shown().size(), 1U);
    EXPECT_NE(fixture_.Shown()[0].find("\"HKEY_USERS\\\" konnte"), std::string::npos);
}

TEST_F(Registry, AsksAsOftenAsItsCallerWants) {
    NEEDS_FAULTS();
    const HKEY root = HKEY_LOCAL_MACHINE;
    const std::string closed = kArea + "\\zu";
    fixture_.Key(kHklm + closed);
    for (const char* right : {":query", ":set", ":enumerate"}) {
        fixture_.Fault("test RegOpenKeyExA * " + kHklm + closed + right + "=5");
    }
    fixture_.Enter();
    std::string text;
    std::vector<std::string> names;
    handles::Key key;
    const Options unless = ShowErrors | IgnoreUnavailable;
    const std::vector<std::pair<std::size_t, std::function<LONG()>>> cases{
        {2, [&] { return ReadValue(root, closed, "w", text, ShowErrors); }},
        {2, [&] { return DeleteValue(root, closed, "w", ShowErrors); }},
        {2, [&] { return EnumSubkeys(root, closed, names, ShowErrors); }},
        {2, [&] { return OpenKeyForReading(root, closed, key, ShowErrors); }},
        {0, [&] { return OpenKeyForWriting(root, closed, key, unless); }},
        {0, [&] { return WriteValue(root, closed, "w", REG_SZ, "x", unless); }},
        {0, [&] { return KeyExists(root, closed); }},
    };
    for (const auto& [asked, operation] : cases) {
        fixture_.Answer({"retry", "ignore"});
        EXPECT_EQ(operation(), 5);
        EXPECT_EQ(fixture_.Shown().size(), asked);
    }
    EXPECT_EQ(RootKeyName(HKEY_USERS), "HKEY_USERS");
    EXPECT_EQ(RootKeyName(nullptr), "");
}

}  // namespace
}  // namespace support
