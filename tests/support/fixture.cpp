#include "tests/support/fixture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

namespace support {

namespace fs = std::filesystem;

Fixture& Fixture::File(const std::string& path, const std::string& content,
                       const std::string& attributes) {
    fs::create_directories(Place(path).parent_path());
    Attributes(path, "");
    WriteBytes(Place(path), content);
    return Attributes(path, attributes);
}

Fixture& Fixture::Folder(const std::string& path) {
    fs::create_directories(Place(path));
    return *this;
}

Fixture& Fixture::Program(const std::string& path) {
    fs::create_directories(Place(path).parent_path());
    fs::copy_file(BuiltProgram(), Place(path), fs::copy_options::overwrite_existing);
    return *this;
}

Outcome Fixture::Run(const std::string& program, const std::string& arguments,
                     const std::vector<std::string>& answers) {
    Answer(answers);
    const State before = Look();
    Outcome outcome = Execute(program, arguments);
    EXPECT_TRUE(HasHappened()) << "nothing has stopped";
    outcome.shown = Shown();
    outcome.difference = Difference(before, Look());
    return outcome;
}

Outcome Fixture::RunFirst(const std::vector<std::string>& answers) {
    return Run(kOwnFile, "", answers);
}

Outcome Fixture::RunCopy(const std::vector<std::string>& answers) {
    return RunCopy(CopyArguments(), answers);
}

Outcome Fixture::RunCopy(const std::string& arguments, const std::vector<std::string>& answers) {
    Program(kCopy);
    return Run(kCopy, arguments, answers);
}

void Fixture::HoldOpen(const std::string& path) {
    Enter();
    held_ = handles::File(CreateFileA(FromUtf8(path).c_str(), GENERIC_READ, FILE_SHARE_READ,
                                      nullptr, OPEN_EXISTING, 0, nullptr));
    ASSERT_TRUE(static_cast<bool>(held_)) << path;
}

std::string Fixture::Content(const std::string& path) const {
    return fs::exists(Place(path)) ? ReadBytes(Place(path)) : "";
}

std::vector<Call> Fixture::CallsMade() const {
    std::istringstream lines(ReadBytes(HostFolder() + "/calls.txt"));
    std::vector<Call> calls;
    Call call;
    std::string effect;
    const auto next = [&lines](std::string& field, char end = '\t') {
        return static_cast<bool>(std::getline(lines, field, end));
    };
    while (next(call.role) && next(call.function) && next(call.occurrence) && next(call.result) &&
           next(effect) && next(call.argument, '\n')) {
        call.changes = effect == "changes";
        calls.push_back(call);
    }
    return calls;
}

unsigned Fixture::Calls(const std::string& function, const std::string& argument) const {
    const std::vector<Call> calls = CallsMade();
    return static_cast<unsigned>(std::count_if(calls.begin(), calls.end(), [&](const Call& call) {
        return call.function == function && call.argument == argument;
    }));
}

}  // namespace support
