// The hosted machine itself: what it refuses to start on, what it does when told to fail,
// and two processes on it at a time.
#include <algorithm>
#include <cstdlib>
#include <filesystem>

#include "tests/support/flow.h"
#include "tools/machine/stage.h"

namespace support {
namespace {

struct Damage {
    const char* file;
    const char* content;  // null: the file is taken away
    const char* said;     // on stderr
};

// Every file of a machine folder, with its size and content.
Lines Everything(const std::filesystem::path& folder) {
    Lines lines;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
        lines.push_back(entry.path().string());
        if (entry.is_regular_file()) {
            lines.back() += " " + std::to_string(Digest(ReadBytes(entry.path())));
        }
    }
    std::sort(lines.begin(), lines.end());
    return lines;
}

TEST(HostedMachine, ADamagedOneIsRefusedInOneSentence) {
    const std::vector<Damage> damages{
        {"registry.reg", "REGEDIT4\n\n[HKEY_LOCAL_MACHINE\\A]\n@=\"open\n",
         "registry.reg, line 4:"},
        {"registry.reg", "REGEDIT4\n[HKEY_LOCAL_MACHINE\\A\n", "registry.reg, line 2:"},
        {"registry.reg", "REGEDIT4\n\n[HKEY_ELSEWHERE\\A]\n", "registry.reg, line 3:"},
        {"registry.reg", "REGEDIT4\n[HKEY_USERS\\A]\n\"n\"=dword:xyz\n", "registry.reg, line 3:"},
        {"registry.reg", "something else\n", "registry.reg, line 1:"},
        {"machine.ini", "[folders]\ntemp=C:\\windows\\Temp\n[clock]\nstart=soon\n",
         "machine.ini, line 4:"},
        {"machine.ini", nullptr, "machine.ini"},
    };
    for (const Damage& damage : damages) {
        SCOPED_TRACE(damage.said);
        Machine machine;
        const std::filesystem::path folder = machine.HostFolder();
        if (damage.content == nullptr) {
            std::filesystem::remove(folder / damage.file);
        } else {
            WriteBytes(folder / damage.file, damage.content);
        }
        const Lines before = Everything(folder);
        const std::string program = (folder / "drives/C/Programme/Büro Tessorin/UnInstall.exe");
        const std::string errors = folder.string() + "-errors";
        const int status =
            std::system(("\"" + program + "\" </dev/null >/dev/null 2>" + errors).c_str());
        const std::string said = ReadBytes(errors);
        std::filesystem::remove(errors);
        EXPECT_EQ(WEXITSTATUS(status), 2);
        EXPECT_NE(said.find(damage.said), std::string::npos) << said;
        EXPECT_EQ(said.find('\n'), said.size() - 1) << said;
        EXPECT_TRUE(SameChanges(before, Everything(folder)));
    }
}

TEST(HostedMachine, FailsAndKillsWhereItIsTold) {
    Machine machine;
    machine.Setting("faults", "copy SHFileOperationA 2 *=kill-after");
    const Outcome killed = machine.RunCopy({});
    EXPECT_EQ(killed.status, 128 + 9);
    EXPECT_TRUE(SameChanges({"- file " + kProgramFolder + "\\Tessorin.exe",
                             "- file " + kProgramFolder + "\\UnInstall.exe"},
                            killed.difference));
    // The rest goes when it is started again.
    machine.NoSetting("faults", "copy SHFileOperationA 2 *");
    ExpectOutcome(machine.RunCopy({}),
                  {Progress(), FolderNotEmpty(kProgramFolder), ResetQuestion(), Success()},
                  CompleteRemoval());
}

TEST(HostedMachine, EndsAProgramThatNobodyAnswers) {
    Machine machine;
    machine.Setting("faults", "first OpenFile * *=32");
    const Outcome outcome = machine.RunFirst({});
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.shown.size(), 1001U);
}

}  // namespace
}  // namespace support
