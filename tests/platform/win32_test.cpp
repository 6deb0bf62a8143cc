// What the program relies on and no run of it shows: the same calls on each host.
#include "platform/win32.h"

#include <gtest/gtest.h>

#include "platform/ansi.h"
#include "tests/support/flow.h"

namespace support {
namespace {

const std::string kFolder = "C:\\Größe\\";
const std::string kKey = "Software\\Textwerk Test";

class Win32 : public testing::Test {
 protected:
    Win32() {
        machine_.File(kFolder + "Fest.txt", "fest", "R").Folder(kFolder + "Leer");
        machine_.File(kFolder + "Voll\\a.txt", "a").Key(kHklm + kKey + "\\Äpfel\\Sorte");
        machine_.Enter();
        before_ = machine_.Look();
    }
    ~Win32() override { SetCurrentDirectoryA("C:\\"); }

    static std::string At(const std::string& name) { return FromUtf8(kFolder) + name; }
    static DWORD Copy(const std::string& from, const std::string& to) {
        return CopyFileA(At(from).c_str(), At(to).c_str(), TRUE) != FALSE ? 0 : GetLastError();
    }
    static DWORD Open(const std::string& path, DWORD access, DWORD disposition) {
        const handles::File file(
            CreateFileA(At(path).c_str(), access, 0, nullptr, disposition, 0, nullptr));
        return file ? 0 : GetLastError();
    }
    static DWORD Enter(const char* folder) {
        return SetCurrentDirectoryA(folder) != FALSE ? 0 : GetLastError();
    }
    void ExpectChanges(const Lines& expected) const {
        EXPECT_TRUE(SameChanges(expected, Difference(before_, machine_.Look())));
    }

    Machine machine_;
    State before_;
};

TEST_F(Win32, ReplacesNoFileUnasked) {
    EXPECT_EQ(Copy("Fest.txt", "neu.txt"), DWORD{0});
    EXPECT_EQ(machine_.Look().files.at(kFolder + "neu.txt").attributes, "R");
    EXPECT_EQ(Copy("Voll\\a.txt", "Neu.TXT"), DWORD{ERROR_FILE_EXISTS});
    EXPECT_EQ(Copy("fehlt", "y"), DWORD{ERROR_FILE_NOT_FOUND});
    EXPECT_EQ(Copy("Fest.txt", "fehlt\\y"), DWORD{ERROR_PATH_NOT_FOUND});
    EXPECT_EQ(Open("VOLL\\A.txt", GENERIC_WRITE, CREATE_NEW), DWORD{ERROR_FILE_EXISTS});
    EXPECT_EQ(Open("fehlt\\x", GENERIC_READ, OPEN_EXISTING), DWORD{ERROR_PATH_NOT_FOUND});
    EXPECT_EQ(Open("Voll", GENERIC_READ, OPEN_EXISTING), DWORD{ERROR_ACCESS_DENIED});
    ExpectChanges({"+ file " + kFolder + "neu.txt"});
}

TEST_F(Win32, KeepsTheCurrentFolder) {
    std::string list = At("Leer") + '\0';
    SHFILEOPSTRUCTA request{};
    request.wFunc = FO_DELETE;
    request.pFrom = list.c_str();
    request.fFlags = FOF_SILENT | FOF_NOCONFIRMATION;
    EXPECT_EQ(Enter(At("leer").c_str()), DWORD{0});
    EXPECT_NE(SHFileOperationA(&request), 0);
    EXPECT_NE(GetFileAttributesA("..\\Fest.txt"), INVALID_FILE_ATTRIBUTES);
    EXPECT_EQ(Enter("..\\Fest.txt"), DWORD{ERROR_DIRECTORY});
    EXPECT_EQ(Enter("fehlt"), DWORD{ERROR_FILE_NOT_FOUND});
    // Dots belong to a name that a backslash follows.
    EXPECT_NE(Enter("..\\Voll...\\"), DWORD{0});
    ExpectChanges({});
}

TEST_F(Win32, DeletesOnlyKeysWithoutSubkeysAndHandlesHaveTheirRights) {
    handles::Key key;
    ASSERT_EQ(RegOpenKeyExA(HKEY_LOCAL_MACHINE, kKey.c_str(), 0, KEY_QUERY_VALUE, key.Receive()),
              0);
    EXPECT_EQ(RegSetValueExA(key.Get(), "w", 0, REG_SZ, nullptr, 0), ERROR_ACCESS_DENIED);
    ASSERT_EQ(RegOpenKeyExA(HKEY_LOCAL_MACHINE, kKey.c_str(), 0, KEY_SET_VALUE, key.Receive()), 0);
    DWORD size = 0;
    EXPECT_EQ(RegQueryValueExA(key.Get(), "", nullptr, nullptr, nullptr, &size),
              ERROR_ACCESS_DENIED);
    EXPECT_EQ(RegDeleteKeyA(key.Get(), "Äpfel"_ansi.data()), ERROR_ACCESS_DENIED);
    EXPECT_EQ(RegDeleteKeyA(key.Get(), "fehlt"), ERROR_FILE_NOT_FOUND);
    ExpectChanges({});
    EXPECT_EQ(RegDeleteKeyA(key.Get(), "äpfel\\sorte"_ansi.data()), 0);
    EXPECT_EQ(RegDeleteKeyA(key.Get(), "äpfel"_ansi.data()), 0);
    ExpectChanges({"- key HKLM\\" + kKey + "\\Äpfel"});
}

}  // namespace
}  // namespace support
