// Damaged sandboxes: each is refused in one sentence that names the file and the line, before
// anything is shown and with nothing written.
#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>

#include "tests/support/flow.h"

namespace support {
namespace {

namespace fs = std::filesystem;

// Everything in the folder: names with the content of files and the targets of links.
std::map<std::string, std::string> Everything(const fs::path& folder) {
    std::map<std::string, std::string> all;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(folder)) {
        all[entry.path()] = entry.is_symlink()        ? fs::read_symlink(entry.path()).string()
                            : entry.is_regular_file() ? ReadBytes(entry.path())
                                                      : "";
    }
    return all;
}

void ExpectRefused(const fs::path& folder, const std::string& file, const std::string& said) {
    const auto before = Everything(folder);
    const std::string output = folder.string() + ".output";
    const std::string command = (folder / "drives/C/windows/Temp/UnInstall.exe").string() + " '" +
                                CopyArguments() + "' </dev/null >" + output + " 2>&1";
    const int status = std::system(command.c_str());
    EXPECT_EQ(WEXITSTATUS(status), 2);
    EXPECT_EQ(ReadBytes(output), "UnInstall: " + (folder / file).string() + said + ".\n");
    EXPECT_TRUE(Everything(folder) == before);
    fs::remove(output);
}

struct Damage {
    std::string file, content, said;
};

TEST(Damage, IsToldWithItsFileAndLine) {
    const std::string noUtf8 = ": the text is not UTF-8";
    const std::string empty = ": a part of a key name is empty";
    const std::string noAttributes = ": not attributes (R, H, S), a blank and a path";
    std::string deep = "REGEDIT4\n[HKEY_LOCAL_MACHINE";
    for (int level = 0; level < 100000; ++level) {
        deep += "\\x";
    }
    for (const Damage& damage : std::vector<Damage>{
             {"registry.reg", "", ", line 1: the line REGEDIT4 is missing"},
             {"registry.reg", "REGEDIT4\n\n\"a\"=\"b\"\n",
              ", line 3: a value stands before its key"},
             {"registry.reg", "REGEDIT4\n[HKEY_LOCAL_MACHINE\\\\Software]\n", ", line 2" + empty},
             {"registry.reg", "REGEDIT4\n[HKEY_USERS\\x\\]\n", ", line 2" + empty},
             {"registry.reg", deep + "]\n", ", line 2: a key has more than 512 levels above it"},
             {"registry.reg", "REGEDIT4\n[HKEY_NOWHERE\\x]\n",
              ", line 2: a key name does not start with a known root"},
             {"registry.reg", "REGEDIT4\n[HKEY_USERS\\x]\n\"a\"=\"\xff\"\n", ", line 3" + noUtf8},
             {"registry.reg", "REGEDIT4\n[HKEY_USERS\\\xed\xa0\x80]\n", ", line 2" + noUtf8},
             {"registry.reg", "REGEDIT4\n[HKEY_USERS\\\xc0\xaf]\n", ", line 2" + noUtf8},
             {"registry.reg", "REGEDIT4\n;\xe2\x82", ", line 2" + noUtf8},
             {"attributes.txt", "R C:\\x\nX C:\\y\n", ", line 2" + noAttributes},
             {"attributes.txt", "R:x C:\\x\n", ", line 1" + noAttributes},
             {"attributes.txt", "R C:\\x\nR\n", ", line 2" + noAttributes},
             {"attributes.txt", "R C:\\B\xfcro\n", ", line 1" + noUtf8},
             {"machine.ini", "[folders]\ntemp\n", ", line 2: no \"=\" in \"temp\""},
             {"machine.ini", "[denied]\nx=set\n", ", line 2: section [denied] has no \"x\""},
             {"machine.ini", "[clock]\nstart=1x\n", ", line 2: not a number: \"1x\""},
             {"machine.ini", "[user]\nsid=\x80\n", ", line 2" + noUtf8},
             {"answers.txt", "yes\n\x80\n", ", line 2" + noUtf8},
         }) {
        SCOPED_TRACE(damage.file + damage.said);
        Fixture fixture;
        fixture.Program(kCopy);
        WriteBytes(fixture.HostFolder() + "/" + damage.file, damage.content);
        ExpectRefused(fixture.HostFolder(), damage.file, damage.said);
    }
}

TEST(Damage, IsAFolderOrALinkInPlaceOfAFile) {
    Fixture fixture;
    fixture.Program(kCopy);
    const fs::path folder = fixture.HostFolder();
    for (const std::string& file :
         Lines{"machine.ini", "registry.reg", "attributes.txt", "answers.txt", "transcript.txt",
               "calls.txt", "log.txt", "clipboard.txt"}) {
        SCOPED_TRACE(file);
        const std::string said = ": a folder or a link stands in place of the file";
        const bool there = fs::exists(folder / file);
        const std::string content = there ? ReadBytes(folder / file) : "";
        fs::remove(folder / file);
        fs::create_directory(folder / file);
        ExpectRefused(folder, file, said);
        fs::remove(folder / file);
        WriteBytes(folder / "elsewhere", content);
        fs::create_symlink(folder / "elsewhere", folder / file);
        ExpectRefused(folder, file, said);
        fs::remove(folder / file);
        if (there) {
            WriteBytes(folder / file, content);
        }
    }
}

}  // namespace
}  // namespace support
