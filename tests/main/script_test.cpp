// The bytes that the first run writes: the script's, and the program-information record's.
#include <gtest/gtest.h>

#include "common/modWinTextToDOSText.h"
#include "main/Script.h"
#include "main/modResToFile.h"
#include "tests/support/machine.h"

namespace support {
namespace {

TEST(Script, IsFourLinesWithoutALastLineBreak) {
    EXPECT_EQ(BuildScript(FromUtf8("C:\\Temp von Jörg\\"), "C:\\TEMPVO~1\\", FromUtf8("C:\\Büro 1")),
              "del \"C:\\Temp von J\xF6rg\\UnInstall.pif\"\r\n"
              "start /wait C:\\TEMPVO~1\\UnInstall.exe /u=C:\\B\x81ro 1\r\n"
              "del \"C:\\Temp von J\xF6rg\\UnInstall.exe\"\r\n"
              "del \"C:\\Temp von J\xF6rg\\UnInstall.bat\"");
    EXPECT_NE(BuildScript("C:\\", "C:\\", "D:\\").find("UnInstall.exe /u=D:\\\r\n"),
              std::string::npos);
}

TEST(Script, ConvertsEveryCharacterThatTheDosCodePageHas) {
    EXPECT_EQ(WinTextToDOSText(FromUtf8("§µƒ a\u00A0z")), "\xF5\xE6\x9F a z");
    EXPECT_EQ(WinTextToDOSText(FromUtf8("ÀÁÂÃÄÅÆÇÈÉÊËÌÍÎÏÐÑÒÓÔÕÖ×ØÙÚÛÜÝÞß")),
              "\xB7\xB5\xB6\xC7\x8E\x8F\x92\x80\xD4\x90\xD2\xD3\xDE\xD6\xD7\xD8\xD1\xA5\xE3\xE0\xE2"
              "\xE5\x99\x9E\x9D\xEB\xE9\xEA\x9A\xED\xE8\xE1");
    EXPECT_EQ(WinTextToDOSText(FromUtf8("àáâãäåæçèéêëìíîïðñòóôõö÷øùúûüýþÿ")),
              "\x85\xA0\x83\xC6\x84\x86\x91\x87\x8A\x82\x88\x89\x8D\xA1\x8C\x8B\xD0\xA4\x95\xA2\x93"
              "\xE4\x94\xF6\x9B\x97\xA3\x96\x81\xEC\xE7\x98");
    std::string all;
    for (int code = 0; code < 256; ++code) {
        all += static_cast<char>(code);
    }
    // What it lacks stays; no two characters from 161 on may become the same byte.
    std::string converted = WinTextToDOSText(all);
    ASSERT_EQ(converted.size(), all.size());
    EXPECT_EQ(converted.substr(0, 131) + converted.substr(132, 28),
              all.substr(0, 131) + all.substr(132, 28));
    std::sort(converted.begin() + 161, converted.end());
    EXPECT_EQ(std::adjacent_find(converted.begin() + 161, converted.end()), converted.end());
}

class Record : public testing::Test {
 protected:
    Record() { machine_.Enter(); }
    std::string Write() {
        EXPECT_FALSE(ResToFile("C:\\windows\\Temp\\x.pif", 101, "Custom", Existing::Replace).Failed());
        return machine_.Content(kTempFolder + "\\x.pif");
    }
    Machine machine_;
};

TEST_F(Record, HoldsTheBytesThatTheSystemReads) {
    using namespace std::string_literals;
    const std::string record = Write();
    ASSERT_EQ(record.size(), 967U);
    EXPECT_EQ(record.substr(0, 13), "\0\x78UnInstaller"s);
    EXPECT_EQ(record.substr(0x24, 14), "UnInstall.bat\0"s);
    EXPECT_EQ(record.substr(0x32, 15), "P\\UNINST~1.BAT\0"s);
    EXPECT_EQ(record.substr(0x21B + 0x10A, 15), "Lucida Console\0"s);
    EXPECT_EQ(Digest(record), 0x30294fa3bb255e55U);
}

TEST_F(Record, ReplacesAnOlderFileOnlyIfAsked) {
    machine_.File(kTempFolder + "\\x.pif", std::string(3000, 'x'));
    EXPECT_EQ(Write().size(), 967U);
    machine_.File(kTempFolder + "\\x.pif", "older");
    EXPECT_EQ(ResToFile("C:\\windows\\Temp\\x.pif", 101, "CUSTOM", Existing::Keep).number, 58);
    EXPECT_EQ(machine_.Content(kTempFolder + "\\x.pif"), "older");
    EXPECT_EQ(ResToFile("C:\\windows\\Temp\\y.pif", 102, "CUSTOM", Existing::Replace).number, 326);
    EXPECT_FALSE(machine_.Look().files.contains(kTempFolder + "\\y.pif"));
}

}  // namespace
}  // namespace support
