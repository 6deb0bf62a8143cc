// The registry as Win32 answers for it. Every test runs on each host against the same calls.
#include <gtest/gtest.h>

#include "platform/ansi.h"
#include "platform/handles.h"
#include "platform/win32.h"
#include "tests/support/flow.h"

namespace support {
namespace {

const std::string kArea = "Software\\Textwerk Test";

class Keys32 : public testing::Test {
 protected:
    Keys32() {
        machine_.Value(kHklm + kArea, "", R"("Größe")")
            .Value(kHklm + kArea, "Zahl", "dword:00000005")
            .Key(kHklm + kArea + "\\Äpfel\\Sorte");
        machine_.Enter();
        before_ = machine_.Look();
    }
    static LSTATUS Open(HKEY root, const std::string& path, REGSAM access, handles::Key& key) {
        return RegOpenKeyExA(root, path.c_str(), 0, access, key.Receive());
    }
    static handles::Key Area(REGSAM access) {
        handles::Key key;
        EXPECT_EQ(Open(HKEY_LOCAL_MACHINE, kArea, access, key), 0);
        return key;
    }
    static Lines Names(HKEY root, const std::string& path) {
        handles::Key key;
        EXPECT_EQ(Open(root, path, KEY_ENUMERATE_SUB_KEYS, key), 0) << path;
        Lines names;
        char name[256];
        LSTATUS code = 0;
        for (DWORD i = 0; (code = RegEnumKeyA(key.Get(), i, name, sizeof name)) == 0; ++i) {
            names.emplace_back(name);
        }
        EXPECT_EQ(code, ERROR_NO_MORE_ITEMS);
        return names;
    }
    void ExpectChanges(const Lines& expected) const {
        EXPECT_TRUE(SameChanges(expected, Difference(before_, machine_.Look())));
    }
    Machine machine_;
    State before_;
};

TEST_F(Keys32, OpensWhatIsThereInAnyLetterCase) {
    handles::Key key;
    EXPECT_EQ(Open(HKEY_LOCAL_MACHINE, "SOFTWARE\\textwerk TEST\\\xE4PFEL", KEY_QUERY_VALUE, key),
              0);
    EXPECT_EQ(Open(HKEY_LOCAL_MACHINE, kArea + "\\", KEY_QUERY_VALUE, key), 0);
    EXPECT_EQ(Open(HKEY_LOCAL_MACHINE, "", KEY_QUERY_VALUE, key), 0);
    EXPECT_EQ(Open(HKEY_LOCAL_MACHINE, kArea + "\\fehlt\\x", KEY_QUERY_VALUE, key),
              ERROR_FILE_NOT_FOUND);
    EXPECT_NE(Open(HKEY_CLASSES_ROOT, "\\Shell", KEY_QUERY_VALUE, key), 0);
    EXPECT_EQ(RegCloseKey(nullptr), ERROR_INVALID_HANDLE);
}

TEST_F(Keys32, QueriesTellTheSizeFirst) {
    const handles::Key key = Area(KEY_QUERY_VALUE);
    DWORD size = 77;
    EXPECT_EQ(RegQueryValueExA(key.Get(), "", nullptr, nullptr, nullptr, &size), 0);
    EXPECT_EQ(size, 6U);
    BYTE data[6];
    DWORD type = 0;
    size = 5;
    EXPECT_EQ(RegQueryValueExA(key.Get(), nullptr, nullptr, &type, data, &size), ERROR_MORE_DATA);
    EXPECT_EQ(size, 6U);
    EXPECT_EQ(RegQueryValueExA(key.Get(), "", nullptr, &type, data, &size), 0);
    EXPECT_EQ(type, REG_SZ);
    EXPECT_EQ(std::string(data, data + size), std::string("Größe"_ansi) + '\0');
    size = sizeof data;
    EXPECT_EQ(RegQueryValueExA(key.Get(), "ZAHL", nullptr, &type, data, &size), 0);
    EXPECT_EQ(type, REG_DWORD);
    EXPECT_EQ(std::string(data, data + size), std::string("\5\0\0\0", 4));
    EXPECT_EQ(RegQueryValueExA(key.Get(), "fehlt", nullptr, nullptr, nullptr, &size),
              ERROR_FILE_NOT_FOUND);
}

TEST_F(Keys32, RightsDecideWhatAHandleCanDo) {
    const handles::Key reading = Area(KEY_QUERY_VALUE);
    const handles::Key writing = Area(KEY_SET_VALUE);
    const BYTE data[] = {'x', 0};
    DWORD size = 0;
    char name[256];
    EXPECT_EQ(RegSetValueExA(reading.Get(), "w", 0, REG_SZ, data, 2), ERROR_ACCESS_DENIED);
    EXPECT_EQ(RegDeleteValueA(reading.Get(), "Zahl"), ERROR_ACCESS_DENIED);
    EXPECT_EQ(RegEnumKeyA(reading.Get(), 0, name, sizeof name), ERROR_ACCESS_DENIED);
    EXPECT_EQ(RegQueryValueExA(writing.Get(), "", nullptr, nullptr, nullptr, &size),
              ERROR_ACCESS_DENIED);
    ExpectChanges({});
    EXPECT_EQ(RegSetValueExA(writing.Get(), "w", 0, REG_SZ, data, 2), 0);
    EXPECT_EQ(RegDeleteValueA(writing.Get(), "zahl"), 0);
    EXPECT_EQ(RegDeleteValueA(writing.Get(), "Zahl"), ERROR_FILE_NOT_FOUND);
    ExpectChanges({"- value HKLM\\" + kArea + "\\Zahl", "+ value HKLM\\" + kArea + "\\w: \"x\""});
}

TEST_F(Keys32, EnumeratesSubkeysInOrder) {
    handles::Key made;
    const handles::Key area = Area(KEY_CREATE_SUB_KEY);
    for (const char* name : {"b", "C", "a"}) {
        EXPECT_EQ(RegCreateKeyA(area.Get(), name, made.Receive()), 0);
    }
    EXPECT_EQ(Names(HKEY_LOCAL_MACHINE, kArea), (Lines{"a", "b", "C", std::string("Äpfel"_ansi)}));
    const handles::Key key = Area(KEY_ENUMERATE_SUB_KEYS);
    char small[5];
    EXPECT_EQ(RegEnumKeyA(key.Get(), 3, small, sizeof small), ERROR_MORE_DATA);
}

TEST_F(Keys32, DeletesOnlyKeysWithoutSubkeys) {
    const std::string sort("Äpfel\\Sorte"_ansi);
    const handles::Key area = Area(KEY_SET_VALUE);
    EXPECT_EQ(RegDeleteKeyA(area.Get(), "Äpfel"_ansi.data()), ERROR_ACCESS_DENIED);
    EXPECT_EQ(RegDeleteKeyA(area.Get(), "fehlt"), ERROR_FILE_NOT_FOUND);
    ExpectChanges({});
    handles::Key open;
    ASSERT_EQ(Open(area.Get(), sort, KEY_QUERY_VALUE, open), 0);
    EXPECT_EQ(RegDeleteKeyA(area.Get(), sort.c_str()), 0);
    DWORD size = 0;
    EXPECT_NE(RegQueryValueExA(open.Get(), "", nullptr, nullptr, nullptr, &size), 0);
    EXPECT_EQ(RegDeleteKeyA(area.Get(), "äpfel"_ansi.data()), 0);
    ExpectChanges({"- key HKLM\\" + kArea + "\\Äpfel"});
}

TEST_F(Keys32, ClassesRootShowsTheUsersOverTheMachines) {
    if (!Machine::kMergesClasses) {
        GTEST_SKIP() << "the classes root is the machine's alone here";
    }
    machine_.Value(kClasses + ".twx", "", "\"Maschine\"")
        .Value(kUser + "Software\\Classes\\.twx", "", "\"Benutzer\"")
        .Key(kClasses + ".twx\\a")
        .Key(kUser + "Software\\Classes\\.twx\\b");
    machine_.Enter();
    handles::Key key;
    ASSERT_EQ(Open(HKEY_CLASSES_ROOT, ".twx", KEY_QUERY_VALUE | KEY_SET_VALUE, key), 0);
    BYTE data[32];
    DWORD size = sizeof data;
    EXPECT_EQ(RegQueryValueExA(key.Get(), "", nullptr, nullptr, data, &size), 0);
    EXPECT_EQ(std::string(data, data + size), std::string("Benutzer") + '\0');
    EXPECT_EQ(Names(HKEY_CLASSES_ROOT, ".twx"), (Lines{"a", "b"}));
    before_ = machine_.Look();
    const BYTE text[] = {'n', 0};
    EXPECT_EQ(RegSetValueExA(key.Get(), "", 0, REG_SZ, text, 2), 0);
    ExpectChanges(
        {"~ value HKU\\S-1-5-21-1454471165-823518204-1801674531-1000\\Software\\Classes\\"
         ".twx\\@: \"Benutzer\" -> \"n\""});
}

}  // namespace
}  // namespace support
