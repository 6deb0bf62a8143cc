// The tests stand on what is compared: a difference that nobody sees would pass them all.
#include <gtest/gtest.h>

#include "tests/support/flow.h"
#include "tests/support/machine.h"
#include "tests/support/state.h"

namespace support {
namespace {

State Example() {
    State state;
    state.files["C:\\A"] = {"D", 0, 0};
    state.files["C:\\A\\x"] = {"", 1, Digest("x")};
    state.files["C:\\A\\y"] = {"R", 1, Digest("y")};
    state.files["C:\\A b"] = {"", 1, Digest("b")};
    state.keys = regtext::Parse(
        "REGEDIT4\n; a comment\n[HKEY_LOCAL_MACHINE\\K]\n@=\"default\"\n\"N\\\\1\"=dword:0000000A\n"
        "\"long\"=hex(2):01,02,\\\n  0a\n[HKEY_LOCAL_MACHINE\\K\\Sub]\n");
    return state;
}

TEST(Difference, ShowsEveryKindOfChange) {
    const State before = Example();
    State after = before;
    EXPECT_TRUE(Difference(before, after).empty());

    after.files["C:\\A\\x"].digest = Digest("z");
    after.files["C:\\A\\y"].attributes = "";
    after.files.erase("C:\\A b");
    after.files["C:\\B"] = {"D", 0, 0};
    after.keys["HKEY_LOCAL_MACHINE\\K"].erase("");
    after.keys["HKEY_LOCAL_MACHINE\\K"]["N\\1"] = "dword:00000009";
    after.keys.erase("HKEY_LOCAL_MACHINE\\K\\Sub");
    after.keys["HKEY_USERS\\U"][""] = "\"new\"";
    const std::vector<std::string> expected{
        "~ file C:\\A\\x: 1 bytes -> 1 bytes",
        "~ file C:\\A\\y: 1 bytes, R -> 1 bytes",
        "- file C:\\A b",
        "+ folder C:\\B",
        "- key HKLM\\K\\Sub",
        "+ key HKU\\U",
        "- value HKLM\\K\\@",
        "~ value HKLM\\K\\N\\1: dword:0000000a -> dword:00000009",
        "+ value HKU\\U\\@: \"new\"",
    };
    EXPECT_TRUE(SameChanges(expected, Difference(before, after)));
}

TEST(Difference, NamesOnlyTheTopOfWhatIsGone) {
    const State before = Example();
    State after;
    after.files["C:\\A b"] = before.files.at("C:\\A b");
    const std::vector<std::string> expected{"- folder C:\\A", "- key HKLM", "- key HKU"};
    EXPECT_TRUE(SameChanges(expected, Difference(before, after)));
    EXPECT_FALSE(SameChanges(expected, {"- folder C:\\A"}));
    EXPECT_FALSE(Same({"a", "b"}, {"b", "a"}));
}

TEST(RegistryText, ComesBackAsItWasWritten) {
    const Keys keys = Example().keys;
    EXPECT_EQ(keys.at("HKEY_LOCAL_MACHINE\\K").at("long"), "hex(2):01,02,0a");
    EXPECT_EQ(regtext::Parse(regtext::Format(keys)), keys);
    for (const std::string& value : Lines{R"("a\\b \"c\"")", R"("")", "dword:8000000a", "hex:",
                                          "hex:0a,ff", "hex(2):41,00", "hex(1):", "hex(b):01"}) {
        EXPECT_EQ(regtext::FormatValue(regtext::ParseValue(value)), value);
    }
}

TEST(StagedMachine, ShowsItsChanges) {
    Machine machine;
    const State before = machine.Look();
    ASSERT_TRUE(before.files.contains(kProgramFolder + "\\UnInstall.exe"));
    ASSERT_TRUE(before.keys.contains(kHklm + kMakerKey));
    machine.File("C:\\neu\\ä.txt", "x", "RH")
        .Attributes(kProgramFolder + "\\Lizenz.txt", "")
        .Remove(kGroupFolder)
        .Value(kSharedDlls, "C:\\windows\\system32\\MSComCtl.ocx", "dword:00000002")
        .RemoveKey(kHklm + kMakerKey);
    const std::vector<std::string> expected{
        "- folder " + kGroupFolder,
        "~ file " + kProgramFolder + "\\Lizenz.txt: 1840 bytes, R -> 1840 bytes",
        "+ file C:\\neu\\ä.txt",
        "+ folder C:\\neu",
        "- key HKLM\\Software\\Verlonix",
        "~ value HKLM\\Software\\Microsoft\\Windows\\CurrentVersion\\SharedDLLs\\"
        "C:\\windows\\system32\\MSComCtl.ocx: dword:00000001 -> dword:00000002",
    };
    EXPECT_TRUE(SameChanges(expected, Difference(before, machine.Look())));
}

}  // namespace
}  // namespace support
