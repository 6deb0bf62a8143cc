// The counts of the shared files: every stored form of a count, and a key that refuses.
#include "tests/support/flow.h"

namespace support {
namespace {

const std::string kSystem = "C:\\windows\\system32\\";
const Lines kFiles{"Msvbvm60.dll", "MSComCtl.ocx", "RichTx32.ocx"};

struct Count {
    const char* stored;  // as regedit writes it
    unsigned left;       // 0: deleted
};

// Runs with three counts and compares what becomes of them.
void ExpectCounts(const std::vector<Count>& counts) {
    Machine machine;
    Lines expected = Without(CompleteRemoval(), "SharedDLLs");
    for (std::size_t i = 0; i < counts.size(); ++i) {
        const std::string name = kSystem + kFiles[i];
        machine.Value(kSharedDlls, name, counts[i].stored);
        const std::string line =
            "value HKLM\\Software\\Microsoft\\Windows\\CurrentVersion\\SharedDLLs\\" + name;
        char left[16];
        std::snprintf(left, sizeof left, "dword:%08x", counts[i].left);
        expected = With(expected, {counts[i].left == 0
                                       ? "- " + line
                                       : "~ " + line + ": " + counts[i].stored + " -> " + left});
    }
    ExpectOutcome(machine.RunCopy({}), CopyShows(), expected);
}

TEST(SharedFiles, LowersEveryStoredForm) {
    const std::vector<std::vector<Count>> tables{
        {{"dword:00000002", 1}, {"dword:00000000", 0}, {"dword:ffffffff", 0}},
        // the smallest number less one is no 32-bit number any more
        {{"dword:80000000", 0}, {"dword:7fffffff", 0x7ffffffe}, {"hex:03", 2}},
        {{"hex:00,01", 255}, {"hex:01,00,00", 0}, {"hex:", 0}},
        {{"hex:34,34,34,34,34,00", 0}, {"hex:05,00,00,00", 4}, {"hex(4):07", 6}},
        {{"\"5\"", 4}, {"\" 12 \"", 11}, {"\"-3\"", 0}},
        // a half goes to the even neighbour
        {{"\"2.5\"", 1}, {"\"3.5\"", 3}, {"\"4,51\"", 4}},
        {{"\"0.5\"", 0}, {"\"1.5\"", 1}, {"\"2147483647.5\"", 0}},
        {{"\"fünf\"", 0}, {"\"3.x\"", 0}, {"\"99999999999999999999999\"", 0}},
        {{"hex(2):33,00", 2}, {"hex(7):33,00,00", 0}, {"hex(b):05,00,00,00,00,00,00,00", 0}},
    };
    for (const std::vector<Count>& table : tables) {
        SCOPED_TRACE(table[0].stored);
        ExpectCounts(table);
    }
}

TEST(SharedFiles, NamesTheCountThatCannotBeLowered) {
    NEEDS_SETTINGS();
    const std::string file = kSystem + kFiles[1];
    Machine machine;
    machine.Setting("faults", "copy RegDeleteValueA * " + kSharedDlls + "|" + file + "=5");
    ExpectOutcome(
        machine.RunCopy({"yes", "no"}),
        CopyShows({"Die gemeinsam genutzte Datei \"" + file +
                   "\" konnte nicht als nicht mehr von Tessorin benötigt markiert werden."},
                  "No"),
        Without(WithoutReset(), "MSComCtl.ocx"));
}

TEST(SharedFiles, TouchesNoneWhenTheKeyIsRefused) {
    NEEDS_SETTINGS();
    for (const std::string& right : Lines{"query", "set"}) {
        SCOPED_TRACE(right);
        Machine machine;
        machine.Setting("faults", "copy RegOpenKeyExA * " + kSharedDlls + ":" + right + "=5");
        machine.Setting("trace", "calls=1");
        ExpectOutcome(
            machine.RunCopy({}),
            CopyShows({"Die gemeinsam genutzten Dateien konnten nicht als nicht mehr von Tessorin "
                       "benötigt markiert werden."}),
            Without(CompleteRemoval(), "SharedDLLs"));
        // The line, which needs memory, is written when the keys are closed.
        const std::string calls = ReadBytes(machine.HostFolder() + "/calls.txt");
        const std::size_t refused = calls.find(kSharedDlls + ":set");
        const std::size_t closed = calls.find("RegCloseKey", refused);
        EXPECT_TRUE(right == "query" || calls.find("HeapAlloc", refused) > closed);
    }
}

TEST(SharedFiles, AskForNoSystemFolderThatIsNotThere) {
    NEEDS_SETTINGS();
    Machine machine;
    machine.NoSetting("folders", "system").Value(kSharedDlls, kFiles[0], "dword:00000005");
    const Outcome outcome = machine.RunCopy({});
    ExpectChanges(Without(CompleteRemoval(), "SharedDLLs"), outcome.difference);
}

}  // namespace
}  // namespace support
