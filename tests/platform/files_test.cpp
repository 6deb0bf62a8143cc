// Where the sandbox has to be as bad as the worst of the systems that it stands for: what the
// program must not rely on, it must be able to lose.
#include "platform/win32.h"

#include <cstring>

#include "tests/support/flow.h"

namespace support {
namespace {

const std::string kFolder = "C:\\Ablage";

class Files : public testing::Test {
 protected:
    Files() {
        fixture_.File(kFolder + "\\Datei", "x").File("C:\\Fremd\\Unten\\Brief.txt", "x", "R");
        fixture_.Enter();
    }
    static DWORD CodeOfSearch(const std::string& pattern, WIN32_FIND_DATAA& found) {
        const handles::Find find(FindFirstFileA(pattern.c_str(), &found));
        return find ? DWORD{ERROR_SUCCESS} : GetLastError();
    }
    static int ShellDelete(const std::string& path) {
        const std::string list = path + '\0';
        SHFILEOPSTRUCTA request{};
        request.wFunc = FO_DELETE;
        request.pFrom = list.c_str();
        request.fFlags = FOF_SILENT | FOF_NOCONFIRMATION;
        return SHFileOperationA(&request);
    }
    Fixture fixture_;
};

TEST_F(Files, ASearchTellsAFileFromAFolderThatIsMissing) {
    WIN32_FIND_DATAA found{};
    for (const auto& [pattern, code] : std::vector<std::pair<std::string, DWORD>>{
             {kFolder + "\\Datei", 0},
             {kFolder + "\\*", 0},
             {kFolder + "\\fehlt", ERROR_FILE_NOT_FOUND},
             {kFolder + "\\fehlt\\x", ERROR_PATH_NOT_FOUND},
             {kFolder + "\\fehlt\\*", ERROR_PATH_NOT_FOUND},
             {kFolder + "\\Datei\\x", ERROR_DIRECTORY},
             {kFolder + "\\Datei\\*", ERROR_DIRECTORY},
             {kFolder + "\\Datei\\x\\y", ERROR_PATH_NOT_FOUND},
             {kFolder + "\\Datei\\x\\*", ERROR_PATH_NOT_FOUND}}) {
        EXPECT_EQ(CodeOfSearch(pattern, found), code) << pattern;
    }
}

// A folder and links to it, in a circle, and a folder that is itself a link.
TEST_F(Files, TheShellEmptiesWhatALinkLeadsTo) {
    fixture_.Link(kFolder + "\\Verweis", "C:\\Fremd").Link("C:\\Fremd\\zurück", kFolder);
    fixture_.Link("C:\\Fremd\\Datei", kFolder + "\\Datei");
    fixture_.File("C:\\Dritte\\x", "x").Link("C:\\Tor", "C:\\Dritte");
    const State before = fixture_.Look();
    EXPECT_EQ(ShellDelete(kFolder), 0);
    EXPECT_EQ(ShellDelete("C:\\Tor"), 0);
    ExpectChanges({"- folder " + kFolder, "- file C:\\Fremd\\Datei", "- file C:\\Fremd\\zurück",
                   "- folder C:\\Fremd\\Unten", "- file C:\\Tor", "- file C:\\Dritte\\x"},
                  Difference(before, fixture_.Look()));
}

TEST_F(Files, EveryKindOfReparsePointCanBeStaged) {
    fixture_.Folder("C:\\Wolke").Attributes("C:\\Wolke", "H:9000001A");
    fixture_.Link("C:\\Tor", "C:\\Fremd").Link("C:\\Link", "C:\\Fremd");
    fixture_.Attributes("C:\\Link", ":A000000C");
    fixture_.Enter();
    for (const auto& [path, tag] :
         std::vector<std::pair<std::string, DWORD>>{{kFolder, 0},
                                                    {"C:\\Wolke", 0x9000001A},
                                                    {"C:\\Tor", IO_REPARSE_TAG_MOUNT_POINT},
                                                    {"C:\\Link", IO_REPARSE_TAG_SYMLINK}}) {
        WIN32_FIND_DATAA found{};
        EXPECT_EQ(CodeOfSearch(path, found), 0U) << path;
        EXPECT_EQ(found.dwReserved0, tag) << path;
        EXPECT_EQ((found.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0, tag != 0) << path;
    }
    // A change of the attributes leaves the kind as it is.
    EXPECT_NE(SetFileAttributesA("C:\\Wolke", FILE_ATTRIBUTE_READONLY), FALSE);
    EXPECT_EQ(fixture_.Look().files.at("C:\\Wolke").attributes, "R:9000001AD");
}

TEST_F(Files, ARequestToTheShellShowsItsFields) {
    fixture_.Setting("trace", "calls=1");
    fixture_.Enter();
    EXPECT_EQ(ShellDelete(kFolder + "\\fehlt"), ERROR_FILE_NOT_FOUND);
    const std::string fields = "hwnd=null wFunc=3 pFrom=1 pTo=null fFlags=20";
    EXPECT_EQ(fixture_.Calls("SHFILEOPSTRUCTA", fields), 1U);
}

// Whatever wants to own the clipboard has a window.
TEST_F(Files, TheClipboardTakesNothingFromNobody) {
    const HWND window =
        CreateWindowExA(0, "Static", "", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
    for (const HWND owner : {HWND{}, window}) {
        handles::GlobalMemory memory(GlobalAlloc(GMEM_MOVEABLE, 2));
        std::memcpy(GlobalLock(memory.Get()), "x", 2);
        ASSERT_NE(OpenClipboard(owner), FALSE);
        EXPECT_NE(EmptyClipboard(), FALSE);
        const bool taken = SetClipboardData(CF_TEXT, memory.Get()) != nullptr;
        EXPECT_EQ(taken, owner != nullptr);
        if (taken) {
            static_cast<void>(memory.Release());
        }
        CloseClipboard();
    }
    EXPECT_EQ(fixture_.Clipboard(), "x");
    EXPECT_NE(DestroyWindow(window), FALSE);
    EXPECT_EQ(DestroyWindow(window), FALSE);
}

}  // namespace
}  // namespace support
