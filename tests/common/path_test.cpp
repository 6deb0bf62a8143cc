// Path texts and what the file system says about them.
#include "common/modPath.h"

#include <gtest/gtest.h>

#include "common/modGeneral.h"
#include "common/modGetShortPathAlways.h"
#include "common/modGetSpecialFolderPath.h"
#include "common/modRuntimeError.h"
#include "platform/ansi.h"
#include "tests/support/machine.h"

namespace support {
namespace {

TEST(PathText, TakesAndGivesBackslashes) {
    EXPECT_EQ(AddBackslash(""), "");
    EXPECT_EQ(AddBackslash("C:"), "C:\\");
    EXPECT_EQ(AddBackslash("C:\\x\\"), "C:\\x\\");
    for (const auto& [path, normal] : std::vector<std::pair<std::string, std::string>>{
             {"", ""},
             {"c", ""},
             {"c:", "C:\\"},
             {"c:\\", "C:\\"},
             {"c:\\temp\\", "C:\\temp"},
             {"c:\\temp", "C:\\temp"},
             {"\\\\server\\share\\", "\\\\Server\\share"},
             {"\xE4\xF6", "\xC4\xD6\\"}}) {
        EXPECT_EQ(NormalizeFolderPath(path), normal) << path;
    }
}

TEST(PathText, IsValidOnlyAsALocalAbsolutePath) {
    for (const char* path :
         {"c:", "C:\\", "z:\\a", "C:\\a b. \\c", "C:\\...x", "C:\\\x80\xE4\xFF", "C:\\a\\b\\"}) {
        EXPECT_TRUE(IsValidPath(path)) << path;
    }
    for (const char* path : {"",
                             "C",
                             "C:foo",
                             "1:\\x",
                             "\xC4:\\x",
                             "\\\\server\\share",
                             "\\x",
                             "x",
                             "C:\\a\\\\b",
                             "C:\\\\",
                             "C:\\a\\..\\b",
                             "C:\\..",
                             "C:\\a\\ . \\b",
                             "C:\\ ",
                             "C:\\a:b",
                             "C:\\a/b",
                             "C:\\a?b",
                             "C:\\a*",
                             "C:\\<",
                             "C:\\>",
                             "C:\\|",
                             "C:\\\"",
                             "C:\\a\tb",
                             "C:\\\x1F",
                             "C:\\\x81",
                             "C:\\\x8D",
                             "C:\\\x8E",
                             "C:\\\x8F",
                             "C:\\\x90",
                             "C:\\\x9D",
                             "C:\\\x9E"}) {
        EXPECT_FALSE(IsValidPath(path)) << path;
    }
    EXPECT_FALSE(IsValidPath(std::string_view("C:\\a\0b", 6)));
}

class Paths : public testing::Test {
 protected:
    Paths() {
        machine_.Folder("C:\\Größe 1\\Ein langer Name\\Leer")
            .File("C:\\Größe 1\\Versteckt.txt", "x", "HS")
            .File("C:\\Größe 1\\Ein langer Name\\Offen.txt", "x", "R");
        machine_.Enter();
    }
    Machine machine_;
};

TEST_F(Paths, GetTheNamesThatAreStored) {
    const std::string stored("C:\\Größe 1\\Ein langer Name"_ansi);
    for (const std::string& path :
         {std::string("c:\\GRÖSSE 1\\ein LANGER name"_ansi), std::string(stored + "\\"),
          GetShortPathAlways(stored).value, GetShortPathAlways(stored + "\\").value}) {
        const std::string expected =
            path.find("SS") != std::string::npos ? std::string("C:\\\\") : stored;
        EXPECT_EQ(GetLongPath(path).substr(0, 4), expected.substr(0, 4)) << path;
    }
    EXPECT_EQ(GetLongPath("c:\\grÖßE 1\\ein LANGER name\\offen.TXT"_ansi), stored + "\\Offen.txt");
    EXPECT_EQ(GetLongPath("c:\\GRÖßE 1\\versteckt.txt"_ansi),
              std::string("C:\\Größe 1\\Versteckt.txt"_ansi));
    EXPECT_EQ(GetLongPath("c:\\fehlt\\Leer"), "C:\\\\");
    EXPECT_EQ(GetLongPath("c:\\"), "C:");
    EXPECT_EQ(GetLongPath("c"), "");
    EXPECT_EQ(GetLongPath("Q:\\x"), "");
}

TEST_F(Paths, TellFoldersFromFiles) {
    char before[MAX_PATH];
    GetCurrentDirectoryA(MAX_PATH, before);
    const std::string folder("C:\\Größe 1"_ansi);
    EXPECT_TRUE(FolderExists(folder));
    EXPECT_TRUE(FolderExists("c:\\"));
    EXPECT_FALSE(FolderExists(folder + "\\Versteckt.txt"));
    EXPECT_FALSE(FolderExists(folder + "\\fehlt"));
    EXPECT_FALSE(FolderExists(folder + "\\..\\windows"));
    EXPECT_FALSE(FolderExists("windows"));
    char after[MAX_PATH];
    GetCurrentDirectoryA(MAX_PATH, after);
    EXPECT_STREQ(before, after);

    EXPECT_TRUE(FileExists(folder + "\\versteckt.TXT"));
    EXPECT_FALSE(FileExists(folder));
    EXPECT_FALSE(FileExists(folder + "\\fehlt"));
    EXPECT_FALSE(FileExists(folder + "\\Vers*"));
    EXPECT_TRUE(FileExists(folder + "\\Ein langer Name\\"));
    EXPECT_FALSE(FileExists(folder + "\\Ein langer Name\\Leer\\"));
}

TEST_F(Paths, ShortFormsNameTheSameThing) {
    const std::string shortPath =
        GetShortPathAlways("C:\\Größe 1\\Ein langer Name\\"_ansi.data()).value;
    EXPECT_EQ(shortPath.back(), '\\');
    EXPECT_EQ(shortPath.find(' '), std::string::npos) << shortPath;
    EXPECT_TRUE(FileExists(shortPath + "offen.txt"));
    const RuntimeError error = GetShortPathAlways("C:\\fehlt\\").error;
    EXPECT_EQ(error.number, 5);
    EXPECT_TRUE(error.description.starts_with(
        "GetShortPathName failed for long path \"C:\\fehlt\\\".\r\n\r\n"));
    EXPECT_TRUE(error.description.ends_with(" (Error code 2)") ||
                error.description.ends_with(" (Error code 3)"));
}

TEST_F(Paths, SpecialFoldersThatAreNotThereAreEmpty) {
    EXPECT_NE(GetSpecialFolderPath(CSIDL_COMMON_PROGRAMS), "");
    EXPECT_EQ(GetSpecialFolderPath(4711), "");
    machine_.NoSetting("folders", "programs").Enter();
    EXPECT_EQ(GetSpecialFolderPath(CSIDL_PROGRAMS).empty(), Machine::kObeysSettings);
}

}  // namespace
}  // namespace support
