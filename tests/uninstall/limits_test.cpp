// Names, sizes and numbers at their limits, and links where folders are expected.
#include <fstream>
#include <functional>

#include "tests/support/flow.h"

namespace support {
namespace {

const std::string kProductKey = kMakerKey + "\\Tessorin";

// Keys at the end of the registry file: the harness would read and write all for each.
void Append(const Machine& machine, const std::function<void(std::ostream&)>& write) {
    std::ofstream file(machine.HostFolder() + "/registry.reg", std::ios::app | std::ios::binary);
    write(file);
    ASSERT_TRUE(file.flush());
}

// ---- limits ----------------------------------------------------------------------------

TEST(Limits, TheLongestPathThatAProgramCanHave) {
    // C:\...\UnInstall.exe of 259 characters, and a file with a name of one letter.
    const std::string folder = "C:\\" + std::string(120, 'x') + "\\" + std::string(121, 'y');
    ASSERT_EQ((folder + "\\UnInstall.exe").size(), 259U);
    Machine machine;
    machine.Program(folder + "\\UnInstall.exe").File(folder + "\\Tessorin.exe", "x");
    machine.File(folder + "\\z\\z", "x");
    ExpectOutcome(
        machine.Run(folder + "\\UnInstall.exe", "", {"yes", "yes", "no"}),
        {Confirmation(), Progress(), FolderNotEmpty(folder), ResetQuestion("No"), Success()},
        With(TheRest(), {"- folder " + folder}));
}

TEST(Limits, TheLongestKeyNamesThereAre) {
    const std::string name(255, 'x');
    Machine machine;
    machine.Value(kHklm + kProductKey + "\\" + name + "\\" + name, name, "\"x\"");
    machine.Key("HKEY_USERS\\" + name + "\\" + kProductKey + "\\" + name);
    machine.Value(kClasses + "." + std::string(254, 'x'), "", "\"" + name + "\"");
    machine.Value(kClasses + name + "\\Shell\\" + name + "\\command", "",
                  R"("C:\\Programme\\Büro Tessorin\\Tessorin.exe %1")");
    ExpectOutcome(machine.RunCopy({}), CopyShows(),
                  With(CompleteRemoval(),
                       {"- key HKU\\" + name + "\\" + kMakerKey,
                        "~ value HKLM\\Software\\Classes\\" + name + "\\Shell\\" + name +
                            R"(\command\@: "C:\\Programme\\Büro Tessorin\\Tessorin.exe %1" -> )" +
                            R"("C:\\windows\\Notepad.exe %1")"}));
}

// Up to 16 MiB a value is read; of a byte more nobody knows what it says.
TEST(Limits, ValuesOf16MiBAreReadAndLongerOnesLeft) {
    const std::string system = "C:\\\\windows\\\\system32\\\\";
    const std::string largest((16U << 20) - 1, 'x');  // with its NUL
    Machine machine;
    Append(machine, [&](std::ostream& file) {
        file << "\n[" << kSharedDlls << "]\n";
        file << '"' << system << "Msvbvm60.dll\"=\"" << largest << "x\"\n";
        file << '"' << system << "RichTx32.ocx\"=\"" << largest << "\"\n";
    });
    ExpectOutcome(
        machine.RunCopy({"yes", "no"}),
        CopyShows({"Die gemeinsam genutzte Datei \"C:\\windows\\system32\\Msvbvm60.dll\" konnte "
                   "nicht als nicht mehr von Tessorin benötigt markiert werden."},
                  "No"),
        With(Without(WithoutReset(), "Msvbvm60"),
             {R"(- value HKLM\Software\Microsoft\Windows\CurrentVersion\SharedDLLs\)"
              R"(C:\windows\system32\RichTx32.ocx)"}));
}

// The registry allows 512 levels; what is below the product's key goes level by level.
TEST(Limits, AsDeepAndAsWideAsNobodyHasSeenIt) {
    std::string key = kHklm + kProductKey;
    for (int level = 4; level <= 512; ++level) {
        key += "\\" + std::to_string(level);
    }
    Machine machine;
    machine.Value(key, "tief", "\"unten\"");
    Append(machine, [](std::ostream& file) {
        for (unsigned i = 0; i < 100000; ++i) {
            file << "\n[" << kHklm << kProductKey << "\\Zuletzt " << i << "]\n";
        }
    });
    ExpectOutcome(machine.RunCopy({}), CopyShows(), CompleteRemoval());
}

// ---- links -----------------------------------------------------------------------------

// A link of a folder goes, what it leads to stays.
TEST(Links, InsideTheFolderLeadNowhere) {
    Machine machine;
    machine.Link(kProgramFolder + "\\Hilfe\\Bilder\\alle", "C:\\");
    machine.Link(kProgramFolder + "\\Hilfe\\oben", kProgramFolder);
    machine.Link(kProgramFolder + "\\Hilfe\\Textwerk", "C:\\Programme\\Textwerk");
    machine.Link(kProgramFolder + "\\nirgends", "C:\\gibt\\es\\nicht");
    machine.Link(kProgramFolder + "\\Notepad.exe", "C:\\windows\\Notepad.exe");
    ExpectOutcome(machine.RunCopy({}), CopyShows(), CompleteRemoval());
}

// The product's files are its own wherever they lie; everything else there is not.
TEST(Links, InPlaceOfTheFoldersGoAlone) {
    const std::string program = "D:\\Sammlung";
    const std::string group = "D:\\Menü";
    Machine machine;
    machine.Remove(kProgramFolder).File(program + "\\Tessorin.exe", "x");
    machine.File(program + "\\UnInstall.exe", "x").File(program + "\\Hilfe\\Tessorin.hlp", "x");
    machine.Remove(kGroupFolder).File(group + "\\Tessorin.lnk", "x");
    machine.File(group + "\\Textwerk.lnk", "x").Folder(group + "\\Spiele");
    machine.Link(kProgramFolder, program).Link(kGroupFolder, group);
    ExpectOutcome(machine.RunCopy({}),
                  {Progress(), FolderNotEmpty(kProgramFolder), FolderNotEmpty(kGroupFolder),
                   ResetQuestion(), Success()},
                  With(Without(CompleteRemoval(), "- folder "),
                       {"- file " + kProgramFolder, "- file " + program + "\\Tessorin.exe",
                        "- file " + program + "\\UnInstall.exe", "- file " + kGroupFolder,
                        "- file " + group + "\\Tessorin.lnk"}));
}

// While it is not known whether the folder is one, nothing behind it is touched.
TEST(Links, MayBeHiddenForAMoment) {
    const std::string link = "D:\\Sammlung\\Verweis";
    for (const std::string occurrence : {"1", "2", "3", "4"}) {
        SCOPED_TRACE(occurrence);
        Machine machine;
        machine.Setting("faults",
                        "copy FindFirstFileA " + occurrence + " " + kProgramFolder + "=21");
        machine.Remove(kProgramFolder).Folder("D:\\Sammlung");
        machine.Link(link, "C:\\Programme\\Textwerk").Link(kProgramFolder, "D:\\Sammlung");
        machine.RunCopy({});
        EXPECT_TRUE(machine.Look().files.contains(link));
    }
}

}  // namespace
}  // namespace support
