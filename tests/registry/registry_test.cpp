// What no flow of the program reaches: the registry operations' other options and the
// other kinds of reports.
#include "registry/modRegistry.h"

#include <gtest/gtest.h>

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
    std::string Stored(const std::string& name) { return machine_.Look().keys.at(kFull).at(name); }
    Machine machine_;
};

TEST_F(Registry, StoresTextsAndNumbers) {
    machine_.Key(kFull);
    EXPECT_EQ(Write("", REG_SZ, "für \"alle\""_ansi.data()), 0);
    EXPECT_EQ(Stored(""), "\"für \\\"alle\\\"\"");
    EXPECT_EQ(Write("leer", REG_SZ, ""), 0);
    EXPECT_EQ(Stored("leer"), "\"\"");
    EXPECT_EQ(Write("n", REG_DWORD, "2147483647"), 0);
    EXPECT_EQ(Stored("n"), "dword:7fffffff");
    for (const auto& [text, bytes] :
         std::vector<std::pair<std::string, std::string>>{{"0", "hex:00"},
                                                          {"255", "hex:ff"},
                                                          {"256", "hex:00,01"},
                                                          {"65536", "hex:00,00,01"},
                                                          {"16777216", "hex:00,00,00,01"}}) {
        EXPECT_EQ(Write("b", REG_BINARY, text), 0);
        EXPECT_EQ(Stored("b"), bytes);
    }
    for (const std::string& text : Lines{"", "-1", "2147483648", "1.5", "x", " 1"}) {
        EXPECT_EQ(Write("b", REG_DWORD, text), ERROR_INVALID_PARAMETER) << text;
    }
    EXPECT_EQ(Write("b", REG_EXPAND_SZ, "x"), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(Stored("b"), "hex:00,00,00,01");
    EXPECT_EQ(WriteValue(HKEY_LOCAL_MACHINE, kArea + "\\fehlt", "", REG_SZ, "x", Silent), 2);
}

TEST_F(Registry, ReadsEveryTypeAsText) {
    const std::vector<std::pair<std::string, std::string>> table{
        {R"("Tessorin")", "Tessorin"},
        {R"("")", ""},
        {"hex(1):", ""},
        {"hex(1):61,00,62,00", std::string("a\0b", 3)},
        {"hex(2):25,41,25,00", "%A%"},
        {"dword:80000000", "-2147483648"},
        {"dword:ffffffff", "-1"},
        {"dword:7fffffff", "2147483647"},
        {"hex:05,00,00,00", "5"},
        {"hex:ff", "255"},
        {"hex:", "0"},
        {"hex:61,62,63,64,65", "abcde"},
        {"hex(4):61,62,63,64,65", "abcde"},
        {"hex(7):61,00,00", ""},
        {"hex(0):61", ""},
    };
    for (const auto& [stored, text] : table) {
        machine_.Value(kFull, "w", stored);
        std::string read = "old";
        EXPECT_EQ(ReadValue(HKEY_LOCAL_MACHINE, kArea, "w", read, Silent), 0) << stored;
        EXPECT_EQ(read, text) << stored;
    }
    // The last byte goes unseen. (Some systems add a terminator that was not stored.)
    EXPECT_EQ(ValueTextFromData(REG_SZ, "ab"), "a");
    std::string read = "old";
    EXPECT_EQ(ReadValue(HKEY_LOCAL_MACHINE, kArea, "fehlt", read, ShowErrors), 2);
    EXPECT_EQ(read, "");
    read = "old";
    EXPECT_EQ(ReadValue(HKEY_LOCAL_MACHINE, kArea + "\\fehlt", "", read, ShowErrors), 2);
    EXPECT_EQ(read, "");
    EXPECT_TRUE(Same({}, machine_.Shown()));
}

TEST_F(Registry, RefusesValuesAbove16MiB) {
    machine_.Key(kFull);
    handles::Key key;
    ASSERT_EQ(OpenKeyForWriting(HKEY_LOCAL_MACHINE, kArea, key, Silent), 0);
    std::string data(16U << 20, 'x');
    std::string text;
    ASSERT_EQ(SetValueBytes(HKEY_LOCAL_MACHINE, kArea, key.Get(), "w", REG_BINARY, data, Silent),
              0);
    EXPECT_EQ(ReadValue(HKEY_LOCAL_MACHINE, kArea, "w", text, Silent), 0);
    EXPECT_TRUE(text == data);
    data += 'x';
    ASSERT_EQ(SetValueBytes(HKEY_LOCAL_MACHINE, kArea, key.Get(), "w", REG_BINARY, data, Silent),
              0);
    EXPECT_EQ(ReadValue(HKEY_LOCAL_MACHINE, kArea, "w", text, Silent), ERROR_MORE_DATA);
    EXPECT_EQ(text, "");
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

std::string Report(const std::string& icon, const std::string& subject, const std::string& verb,
                   const std::string& reason, bool ignoreWarning) {
    return "[" + icon + "] Abort *Retry Ignore -> Ignore: " + subject + " konnte" + verb +
           " werden." + reason +
           "\\n\\nWenn Sie auf \"Abbrechen\" bzw. \"Beenden\" klicken, wird das Programm beendet. "
           "Nicht gespeicherte Daten gehen dabei verloren." +
           (ignoreWarning ? "\\n\\nWenn Sie auf \"Ignorieren\" klicken, könnte dies zu "
                            "Fehlfunktionen des Programms führen."
                          : "");
}

TEST_F(Registry, ReportsEachKindOfFailure) {
    const std::string denied = "\\n\\nZugriff verweigert (Fehler 5)";
    const std::string missing = "\\n\\nDer Registrierungsschlüssel ist nicht vorhanden. (Fehler 2)";
    const std::string key = "\"HKEY_CURRENT_USER\\A\\B\"";
    struct Case {
        RegOp kind;
        const char* name;
        LONG code;
        std::string expected;
    };
    const std::string value = "Der Registrierungswert";
    const std::string whole = "Der Registrierungsschlüssel " + key;
    const std::vector<Case> cases{
        {RegOpRead, "", 5,
         Report("x", value + " (Standard) im Schlüssel " + key, " nicht gelesen", denied, true)},
        {RegOpWrite, "a b", 2,
         Report("!", value + " \"a b\" im Schlüssel " + key, " nicht geschrieben", missing, false)},
        {RegOpDeleteValue, "w", 5,
         Report("!", value + " \"w\" im Schlüssel " + key, " nicht gelöscht", denied, false)},
        {RegOpCreateKey, "", 5, Report("!", whole, " nicht erstellt", denied, false)},
        {RegOpDeleteKey, "", 99999,
         Report("!", whole, " nicht gelöscht", " (Fehler 99999)", false)},
        {RegOpEnumSubkeys, "", 2,
         Report("x", "Die Unterschlüssel des Registrierungsschlüssels " + key,
                "n nicht aufgelistet", missing, true)},
        {RegOpOpenForReading, "", 5,
         Report("x", whole, " nicht mit Lesezugriffsrechten geöffnet", denied, true)},
        {RegOpOpenForWriting, "", 5,
         Report("!", whole, " nicht mit Schreibzugriffsrechten geöffnet", denied, false)},
    };
    for (const Case& one : cases) {
        machine_.Answer({"ignore"});
        EXPECT_FALSE(ReportRegError(one.kind, one.name, HKEY_CURRENT_USER, "A\\B", one.code));
        EXPECT_TRUE(Same({one.expected}, machine_.Shown()));
    }
    machine_.Answer({"retry"});
    EXPECT_TRUE(ReportRegError(RegOpDeleteKey, "", HKEY_USERS, "", 5));
    ASSERT_EQ(machine_.Shown().size(), 1U);
    EXPECT_NE(machine_.Shown()[0].find("\"HKEY_USERS\\\" konnte"), std::string::npos);
}

TEST_F(Registry, AsksAsOftenAsItsCallerWants) {
    NEEDS_SETTINGS();
    machine_.Key(kFull).Key(kFull + "\\zu").Setting("denied", kFull + "\\zu=query,set,enumerate");
    machine_.Enter();
    const auto shown = [this](const std::vector<std::string>& answers, const auto& operation) {
        machine_.Answer(answers);
        EXPECT_EQ(operation(), 5);
        return machine_.Shown().size();
    };
    std::string text;
    std::vector<std::string> names;
    handles::Key key;
    const std::string closed = kArea + "\\zu";
    const HKEY root = HKEY_LOCAL_MACHINE;
    EXPECT_EQ(shown({"retry", "retry", "ignore"},
                    [&] { return ReadValue(root, closed, "w", text, ShowErrors); }),
              3U);
    EXPECT_EQ(
        shown({"retry", "ignore"}, [&] { return DeleteValue(root, closed, "w", ShowErrors); }), 2U);
    EXPECT_EQ(shown({"ignore"}, [&] { return EnumSubkeys(root, closed, names, ShowErrors); }), 1U);
    EXPECT_EQ(shown({"ignore"}, [&] { return OpenKeyForReading(root, closed, key, ShowErrors); }),
              1U);
    EXPECT_EQ(
        shown({},
              [&] { return OpenKeyForWriting(root, closed, key, ShowErrors | IgnoreUnavailable); }),
        0U);
    EXPECT_EQ(shown({},
                    [&] {
                        return WriteValue(root, closed, "w", REG_SZ, "x",
                                          ShowErrors | IgnoreUnavailable);
                    }),
              0U);
    EXPECT_EQ(shown({}, [&] { return KeyExists(root, closed); }), 0U);
    EXPECT_EQ(RootKeyName(HKEY_USERS), "HKEY_USERS");
    EXPECT_EQ(RootKeyName(nullptr), "");
}

}  // namespace
}  // namespace support
