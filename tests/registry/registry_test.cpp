// What no flow of the program reaches: the registry operations' other options and the
// other kinds of reports.
#include "registry/modRegistry.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

#include "platform/ansi.h"
#include "tests/support/flow.h"

namespace support {
namespace {

using namespace modRegistry;

const std::string kArea = "Software\\Textwerk Test";
const std::string kFull = kHklm + kArea;

class Registry : public testing::Test {
 protected:
    Registry() { machine_.Enter(); }
    LONG Write(const std::string& name, DWORD type, const std::string& text) {
        return WriteValue(HKEY_LOCAL_MACHINE, kArea, name, type, text, Silent);
    }
    Machine machine_;
};

TEST_F(Registry, StoresTextsAndNumbers) {
    struct Case {
        const char* name;
        DWORD type;
        std::string text;
        const char* stored;
    };
    machine_.Key(kFull);
    for (const Case& one :
         std::vector<Case>{{"", REG_SZ, "für \"alle\""_ansi.data(), "\"für \\\"alle\\\"\""},
                           {"leer", REG_SZ, "", "\"\""},
                           {"n", REG_DWORD, "2147483647", "dword:7fffffff"},
                           {"b", REG_BINARY, "0", "hex:00"},
                           {"b", REG_BINARY, "255", "hex:ff"},
                           {"b", REG_BINARY, "256", "hex:00,01"},
                           {"b", REG_BINARY, "65536", "hex:00,00,01"},
                           {"b", REG_BINARY, "16777216", "hex:00,00,00,01"}}) {
        EXPECT_EQ(Write(one.name, one.type, one.text), 0);
        EXPECT_EQ(machine_.Look().keys.at(kFull).at(one.name), one.stored);
    }
    const State before = machine_.Look();
    for (const std::string& text : Lines{"", "-1", "2147483648", "1.5", "x", " 1"}) {
        EXPECT_EQ(Write("b", REG_DWORD, text), ERROR_INVALID_PARAMETER) << text;
    }
    EXPECT_EQ(Write("b", REG_EXPAND_SZ, "x"), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(WriteValue(HKEY_LOCAL_MACHINE, kArea + "\\fehlt", "", REG_SZ, "x", Silent), 2);
    EXPECT_TRUE(SameChanges({}, Difference(before, machine_.Look())));
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
        machine_.Value(kFull, "w", stored);
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
    EXPECT_TRUE(Same({}, machine_.Shown()));
}

TEST_F(Registry, CreatesOnlyWhatIsMissing) {
    machine_.Value(kFull + "\\A", "w", "\"bleibt\"");
    const State before = machine_.Look();
    handles::Key key;
    EXPECT_EQ(OpenKeyForWriting(HKEY_LOCAL_MACHINE, kArea + "\\A\\B\\C", key, Silent), 2);
    EXPECT_EQ(CreateKeyPath(HKEY_LOCAL_MACHINE, "", ShowErrors), 0);
    EXPECT_TRUE(SameChanges({}, Difference(before, machine_.Look())));
    EXPECT_EQ(OpenKeyForWriting(HKEY_LOCAL_MACHINE, kArea + "\\A\\B\\C", key, CreateMissing), 0);
    EXPECT_TRUE(static_cast<bool>(key));
    const std::string area = "+ key HKLM\\" + kArea;
    EXPECT_TRUE(
        SameChanges({area + "\\A\\B", area + "\\A\\B\\C"}, Difference(before, machine_.Look())));
}

TEST_F(Registry, ListsAndDeletesWholeTrees) {
    machine_.Key(kFull + "\\B\\C\\D").Key(kFull + "\\B\\E").Key(kFull + "\\Bx").Key(kFull + "\\a");
    std::vector<std::string> names;
    EXPECT_EQ(EnumSubkeys(HKEY_LOCAL_MACHINE, kArea, names, Silent), 0);
    std::sort(names.begin(), names.end());
    EXPECT_EQ(names, (Lines{"B", "Bx", "a"}));
    EXPECT_EQ(EnumSubkeys(HKEY_LOCAL_MACHINE, kArea + "\\a", names, Silent), 0);
    EXPECT_TRUE(names.empty());
    EXPECT_EQ(EnumSubkeys(HKEY_LOCAL_MACHINE, kArea + "\\fehlt", names, Silent), 2);

    const State before = machine_.Look();
    EXPECT_EQ(DeleteKeyTree(HKEY_LOCAL_MACHINE, kArea + "\\B", Silent), 0);
    EXPECT_EQ(DeleteKeyTree(HKEY_LOCAL_MACHINE, kArea + "\\B", ShowErrors), 2);
    EXPECT_EQ(DeleteKeyTree(HKEY_LOCAL_MACHINE, "", ShowErrors | IgnoreDenied), 87);
    EXPECT_TRUE(SameChanges({"- key HKLM\\" + kArea + "\\B"}, Difference(before, machine_.Look())));
}

TEST_F(Registry, ReportsEachKindOfFailure) {
    const std::string denied = "\\n\\nZugriff verweigert (Fehler 5)";
    const std::string missing = "\\n\\nDer Registrierungsschlüssel ist nicht vorhanden. (Fehler 2)";
    const std::string key = R"("HKEY_CURRENT_USER\A\B" konnte)";
    const std::string whole = "Der Registrierungsschlüssel " + key;
    const std::string value = "Der Registrierungswert ";
    struct Case {
        RegOp kind;
        const char* name;
        LONG code;
        bool reads;
        std::string failure, reason;
    };
    const std::vector<Case> cases{
        {RegOpRead, "", 5, true, value + "(Standard) im Schlüssel " + key + " nicht gelesen",
         denied},
        {RegOpWrite, "a b", 2, false, value + "\"a b\" im Schlüssel " + key + " nicht geschrieben",
         missing},
        {RegOpDeleteValue, "w", 5, false, value + "\"w\" im Schlüssel " + key + " nicht gelöscht",
         denied},
        {RegOpCreateKey, "", 5, false, whole + " nicht erstellt", denied},
        {RegOpDeleteKey, "", 99999, false, whole + " nicht gelöscht", " (Fehler 99999)"},
        {RegOpEnumSubkeys, "", 2, true,
         "Die Unterschlüssel des Registrierungsschlüssels " + key + "n nicht aufgelistet", missing},
        {RegOpOpenForReading, "", 5, true, whole + " nicht mit Lesezugriffsrechten geöffnet",
         denied},
        {RegOpOpenForWriting, "", 5, false, whole + " nicht mit Schreibzugriffsrechten geöffnet",
         denied},
    };
    for (const Case& one : cases) {
        const std::string text =
            one.failure + " werden." + one.reason +
            "\\n\\nWenn Sie auf \"Abbrechen\" bzw. \"Beenden\" klicken, wird das Programm beendet. "
            "Nicht gespeicherte Daten gehen dabei verloren." +
            (one.reads ? "\\n\\nWenn Sie auf \"Ignorieren\" klicken, könnte dies zu "
                         "Fehlfunktionen des Programms führen."
                       : "");
        machine_.Answer({"ignore"});
        EXPECT_FALSE(ReportRegError(one.kind, one.name, HKEY_CURRENT_USER, "A\\B", one.code));
        EXPECT_TRUE(Same({Box(one.reads ? 'x' : '!', "Abort *Retry Ignore", "Ignore", text)},
                         machine_.Shown()));
    }
    machine_.Answer({"retry"});
    EXPECT_TRUE(ReportRegError(RegOpDeleteKey, "", HKEY_USERS, "", 5));
    ASSERT_EQ(machine_.Shown().size(), 1U);
    EXPECT_NE(machine_.Shown()[0].find("\"HKEY_USERS\\\" konnte"), std::string::npos);
}

TEST_F(Registry, AsksAsOftenAsItsCallerWants) {
    NEEDS_SETTINGS();
    const HKEY root = HKEY_LOCAL_MACHINE;
    const std::string closed = kArea + "\\zu";
    machine_.Key(kHklm + closed).Setting("denied", kHklm + closed + "=query,set,enumerate");
    machine_.Enter();
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
        machine_.Answer({"retry", "ignore"});
        EXPECT_EQ(operation(), 5);
        EXPECT_EQ(machine_.Shown().size(), asked);
    }
    EXPECT_EQ(RootKeyName(HKEY_USERS), "HKEY_USERS");
    EXPECT_EQ(RootKeyName(nullptr), "");
}

}  // namespace
}  // namespace support
