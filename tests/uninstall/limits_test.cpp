// Names, sizes and numbers at their limits.
#include <fstream>
#include <functional>

#include "tests/support/flow.h"

namespace support {
namespace {

const std::string kProductKey = kMakerKey + "\\Tessorin";

// Keys at the end of the registry file: the harness would read and write all for each.
void Append(const Fixture& fixture, const std::function<void(std::ostream&)>& write) {
    std::ofstream file(fixture.HostFolder() + "/registry.reg", std::ios::app | std::ios::binary);
    write(file);
    ASSERT_TRUE(file.flush());
}

TEST(Limits, TheLongestPathThatAProgramCanHave) {
    // C:\...\UnInstall.exe of 259 characters, and a file with a name of one letter.
    const std::string folder = "C:\\" + std::string(120, 'x') + "\\" + std::string(121, 'y');
    ASSERT_EQ((folder + "\\UnInstall.exe").size(), 259U);
    Fixture fixture;
    fixture.Program(folder + "\\UnInstall.exe").File(folder + "\\Tessorin.exe", "x");
    fixture.File(folder + "\\z\\z", "x");
    ExpectFinished(
        fixture.Run(folder + "\\UnInstall.exe", "", {"yes", "yes", "no"}),
        {Confirmation(), Progress(), FolderNotEmpty(folder), ResetQuestion("No"), Success()},
        Removal().From(folder));
}

TEST(Limits, TheLongestKeyNamesThereAre) {
    const std::string name(255, 'x');
    Fixture fixture;
    fixture.Value(kHklm + kProductKey + "\\" + name + "\\" + name, name, "\"x\"");
    fixture.Key("HKEY_USERS\\" + name + "\\" + kProductKey + "\\" + name);
    fixture.Value(kClasses + "." + std::string(254, 'x'), "", "\"" + name + "\"");
    fixture.Value(kClasses + name + "\\Shell\\" + name + "\\command", "",
                  R"("C:\\Programme\\Büro Tessorin\\Tessorin.exe %1")");
    ExpectFinished(
        fixture.RunCopy({}), CopyShows(Success()),
        Removal().Also({"- key HKU\\" + name + "\\" + kMakerKey,
                        "~ value HKLM\\Software\\Classes\\" + name + "\\Shell\\" + name +
                            R"(\command\@: "C:\\Programme\\Büro Tessorin\\Tessorin.exe %1" -> )" +
                            R"("C:\\windows\\Notepad.exe %1")"}));
}

// Up to 16 MiB a value is read; of a byte more nobody knows what it says.
TEST(Limits, ValuesOf16MiBAreReadAndLongerOnesLeft) {
    const std::string system = "C:\\\\windows\\\\system32\\\\";
    const std::string largest((16U << 20) - 1, 'x');  // with its NUL
    Fixture fixture;
    Append(fixture, [&](std::ostream& file) {
        file << "\n[" << kSharedDlls << "]\n";
        file << '"' << system << "Msvbvm60.dll\"=\"" << largest << "x\"\n";
        file << '"' << system << "RichTx32.ocx\"=\"" << largest << "\"\n";
    });
    ExpectFinished(
        fixture.RunCopy({}),
        CopyShows(Problems(
            {"Die gemeinsam genutzte Datei \"C:\\windows\\system32\\Msvbvm60.dll\" konnte nicht "
             "als nicht mehr von Tessorin benötigt markiert werden."})),
        Removal()
            .Keeps("Msvbvm60")
            .Also(R"(- value HKLM\Software\Microsoft\Windows\CurrentVersion\SharedDLLs\)"
                  R"(C:\windows\system32\RichTx32.ocx)"));
}

// The registry allows 512 levels; what is below the product's key goes level by level.
TEST(Limits, AsDeepAndAsWideAsNobodyHasSeenIt) {
    std::string key = kHklm + kProductKey;
    for (int level = 4; level <= 512; ++level) {
        key += "\\" + std::to_string(level);
    }
    Fixture fixture;
    fixture.Value(key, "tief", "\"unten\"");
    Append(fixture, [](std::ostream& file) {
        for (unsigned i = 0; i < 100000; ++i) {
            file << "\n[" << kHklm << kProductKey << "\\Zuletzt " << i << "]\n";
        }
    });
    ExpectFinished(fixture.RunCopy({}), CopyShows(Success()), Removal());
}

}  // namespace
}  // namespace support
