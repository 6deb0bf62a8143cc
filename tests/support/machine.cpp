#include "tests/support/machine.h"

namespace support {

Outcome Machine::Run(const std::string& program, const std::string& arguments,
                     const std::vector<std::string>& answers) {
    Begin(answers);
    Start(program, arguments);
    return Finish();
}

Outcome Machine::RunFirst(const std::vector<std::string>& answers) {
    return Run(kProgramFolder + "\\UnInstall.exe", "", answers);
}

Outcome Machine::RunCopy(const std::vector<std::string>& answers) {
    return RunCopy(CopyArguments(), answers);
}

Outcome Machine::RunCopy(const std::string& arguments, const std::vector<std::string>& answers) {
    Program(kTempFolder + "\\UnInstall.exe");
    return Run(kTempFolder + "\\UnInstall.exe", arguments, answers);
}

}  // namespace support
