// What the program does not understand is refused, with the whole argument shown.
#include "tests/support/flow.h"

namespace support {
namespace {

TEST(Arguments, AreRefusedAsAWholeWithoutAnyChange) {
    const Lines refused{
        "/?",
        "/U=" + kProgramFolder,
        "/u=",
        "/u",
        "u=" + kProgramFolder,
        "/u =" + kProgramFolder,
        "/u=\"" + kProgramFolder + "\"",
        "/u= " + kProgramFolder,
        "/u=C:\\Programme\\Tessorin",
        "/u=" + kProgramFolder + "\\Tessorin.exe",
        "/u=" + kProgramFolder + "\\..\\Büro Tessorin",
        "/u=" + kProgramFolder + "\\.",
        "/u=C:\\Programme\\\\Büro Tessorin",
        "/u=C:/Programme/Büro Tessorin",
        "/u=Programme\\Büro Tessorin",
        "/u=C:Programme\\Büro Tessorin",
        "/u=\\\\server\\Programme",
        "/u=1:\\Programme",
        "/u=C:\\Programme\\Büro*",
        "/u=C:\\Programme\\Büro Tessorin\\Hilfe:x",
        "/u=D:\\",
        "/u=C:\\Žluž",
        "/u=C:\\Programme\\" + std::string(5000, 'x'),
        std::string(5000, '?'),
    };
    Machine machine;
    for (const std::string& arguments : refused) {
        SCOPED_TRACE(arguments);
        ExpectOutcome(machine.RunCopy(arguments, {}), {UnknownArgument(arguments)}, {});
    }
    // Control characters stand in the transcript as they are, except for those it escapes.
    const Outcome outcome = machine.RunCopy("/u=C:\\Programme\t\x01", {});
    ExpectOutcome(outcome, {UnknownArgument("/u=C:\\Programme\\t\x01")}, {});
}

}  // namespace
}  // namespace support
