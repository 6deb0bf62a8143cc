// What the program does not understand is refused, with the whole argument shown.
#include "tests/support/flow.h"

namespace support {
namespace {

TEST(Arguments, AreRefusedAsAWholeWithoutAnyChange) {
    Fixture fixture;
    Lines refused = Split(
        R"(/?|/u|/u=|u=C:\Programme\Büro Tessorin|/U=C:\Programme\Büro Tessorin|/u=D:\|/u=C:\Žluž|)"
        R"(/u =C:\Programme\Büro Tessorin|/u= C:\Programme\Büro Tessorin|/u=C:\Programme\Büro*|)"
        R"(/u="C:\Programme\Büro Tessorin"|/u=C:\Programme\Büro Tessorin\Tessorin.exe|/u=1:\windows|)"
        R"(/u=C:\Programme\Büro Tessorin\.|/u=C:\Programme\Büro Tessorin\..\Büro Tessorin|)"
        R"(/u=C:\Programme\Büro Tessorin\Hilfe:x|/u=C:\Programme\Tessorin|/u=\\server\Programme|)"
        R"(/u=C:\Programme\\Büro Tessorin|/u=C:/Programme/Büro Tessorin|/u=Programme|/u=C:Programme)");
    refused.push_back("/u=C:\\Programme\\" + std::string(5000, 'x'));
    refused.emplace_back(5000, '?');
    for (const std::string& arguments : refused) {
        SCOPED_TRACE(arguments);
        ExpectFinished(fixture.RunCopy(arguments, {}), {UnknownArgument(arguments)}, {});
    }
    // Control characters are shown as they are.
    ExpectFinished(fixture.RunCopy("/u=C:\\Programme\t\x01", {}),
                   {UnknownArgument("/u=C:\\Programme\\t\x01")}, {});
}

// Somebody has put quotes around a part of the program's path: that is no argument.
TEST(Arguments, AreWhatFollowsThePathHoweverThatIsQuoted) {
    if (Fixture::kHasFaults) {
        GTEST_SKIP() << "needs a Windows that makes one text of the path and the arguments";
    }
    Fixture fixture;
    ExpectFinished(fixture.Run("\"C:\\Programme\\Büro Tessorin\"\\UnInstall.exe", "", {"no"}),
                   {Confirmation("No")}, {});
    fixture.Program(kCopy);
    ExpectFinished(fixture.Run("C:\\\"windows\"\\Temp\\UnInstall.exe", "/u= x", {}),
                   {UnknownArgument("/u= x")}, {});
}

}  // namespace
}  // namespace support
