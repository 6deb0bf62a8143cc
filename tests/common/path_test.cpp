// Path texts and what the file system says about them.
#include "common/modPath.h"

#include <gtest/gtest.h>

#include "common/modGeneral.h"
#include "common/modGetShortPathAlways.h"
#include "tests/support/flow.h"

namespace support {
namespace {

TEST(PathText, TakesAndGivesBackslashes) {
    EXPECT_EQ(AddBackslash(""), "");
    EXPECT_EQ(AddBackslash("C:"), "C:\\");
    EXPECT_EQ(AddBackslash("C:\\x\\"), "C:\\x\\");
    for (const std::string& pair :
         Split("=|c=|c:=C:\\|c:\\=C:\\|c:\\temp\\=C:\\temp|c:\\temp=C:\\temp|"
               "\\\\server\\share\\=\\\\Server\\share|\xE4\xF6=\xC4\xD6\\")) {
        const std::size_t cut = pair.find('=');
        EXPECT_EQ(NormalizeFolderPath(pair.substr(0, cut)), pair.substr(cut + 1));
    }
}

TEST(PathText, IsValidOnlyAsALocalAbsolutePath) {
    for (const std::string& path : Split(R"(c:|C:\|z:\a|C:\a b. \c|C:\...x|C:\a\b\)")) {
        EXPECT_TRUE(IsValidPath(path)) << path;
    }
    for (const std::string& path :
         Split("C|C:foo|1:\\x|\xC4:\\x|\\\\server\\share|\\x|x|C:\\a\\\\b|C:\\\\|C:\\a\\..\\b|"
               "C:\\..|C:\\a\\ . \\b|C:\\ ")) {
        EXPECT_FALSE(IsValidPath(path)) << path;
    }
    EXPECT_FALSE(IsValidPath(""));
    for (int code = 0; code < 256; ++code) {
        const bool forbidden =
            code < 0x20 || std::string_view("\"*/:<>?|\x81\x8D\x8E\x8F\x90\x9D\x9E")
                                   .find(static_cast<char>(code)) != std::string_view::npos;
        EXPECT_EQ(IsValidPath(std::string("C:\\a") + static_cast<char>(code)), !forbidden) << code;
    }
}

class Paths : public testing::Test {
 protected:
    Paths() {
        machine_.Folder("C:\\Größe 1\\Ein langer Name\\Leer")
            .File("C:\\Größe 1\\Versteckt.txt", "x", "HS")
            .File("C:\\Größe 1\\Ein langer Name\\Offen.txt", "x", "R");
        machine_.Enter();
    }
    const std::string kFolder{FromUtf8("C:\\Größe 1")};
    Machine machine_;
};

TEST_F(Paths, GetTheNamesThatAreStored) {
    const std::string stored = kFolder + "\\Ein langer Name";
    const std::string shortForm = GetShortPathAlways(stored + "\\").value;
    EXPECT_TRUE(shortForm.ends_with('\\') && shortForm.find(' ') == std::string::npos);
    for (const std::string& path : {std::string(FromUtf8("c:\\GRÖßE 1\\ein LANGER name")), stored + "\\",
                                    GetShortPathAlways(stored).value, shortForm}) {
        EXPECT_EQ(GetLongPath(path), stored) << path;
        EXPECT_EQ(GetLongPath(AddBackslash(path) + "offen.TXT"), stored + "\\Offen.txt") << path;
    }
    EXPECT_EQ(GetLongPath(FromUtf8("c:\\GRÖßE 1\\versteckt.txt")), kFolder + "\\Versteckt.txt");
    EXPECT_EQ(GetLongPath("c:\\fehlt\\Leer"), "C:\\\\");
    EXPECT_EQ(GetLongPath("c:\\"), "C:");
    EXPECT_EQ(GetLongPath("c"), "");
    EXPECT_EQ(GetLongPath("Q:\\x"), "");
}

TEST_F(Paths, TellFoldersFromFiles) {
    char before[MAX_PATH];
    char after[MAX_PATH];
    GetCurrentDirectoryA(MAX_PATH, before);
    EXPECT_TRUE(FolderExists(kFolder));
    EXPECT_TRUE(FolderExists("c:\\"));
    for (const char* path : {"\\Versteckt.txt", "\\fehlt", "\\..\\windows"}) {
        EXPECT_FALSE(FolderExists(kFolder + path)) << path;
    }
    EXPECT_FALSE(FolderExists("windows"));
    GetCurrentDirectoryA(MAX_PATH, after);
    EXPECT_STREQ(before, after);

    EXPECT_TRUE(FileExists(kFolder + "\\versteckt.TXT"));
    EXPECT_TRUE(FileExists(kFolder + "\\Ein langer Name\\"));
    for (const char* path : {"", "\\fehlt", "\\Vers*", "\\Ein langer Name\\Leer\\"}) {
        EXPECT_FALSE(FileExists(kFolder + path)) << path;
    }
}

}  // namespace
}  // namespace support
