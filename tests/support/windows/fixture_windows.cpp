// The fixture on Windows: the computer is the one that the tests run on. It gets the staged
// files and keys before each test and keeps what the last one left, so it should be nobody's.
#include <gtest/gtest.h>

#include <set>

#include "tests/support/fixture.h"
#include "tools/sandbox/real.h"

namespace support {

namespace fs = std::filesystem;

namespace {

std::set<fs::path> EntriesOf(const fs::path& folder) {
    return {fs::directory_iterator(folder), {}};
}

// What was there before the first test.
struct System {
    std::set<fs::path> files = EntriesOf("C:\\");
    State state{{}, real::ReadRegistry(), {}};
};

const System& TheSystem() {
    // Whoever asks for the desktop first starts the process that shows it. It outlives the
    // tests, so it must be a child of theirs and none of the program's.
    GetDesktopWindow();
    static const System system;
    return system;
}

// Everything on the drive that is not the system's.
std::set<fs::path> Territory() {
    std::set<fs::path> places = EntriesOf("C:\\");
    std::erase_if(places, [](const fs::path& one) { return TheSystem().files.contains(one); });
    places.insert(kTempFolder);
    return places;
}

void Clear() {
    for (const fs::path& place : Territory()) {
        real::RemoveTree(place);
    }
    fs::create_directories(kTempFolder);  // the system may have spelt it otherwise
    for (const sandbox::Item& item :
         sandbox::Compare(TheSystem().state, {{}, real::ReadRegistry(), {}})) {
        const bool isKey = item.kind == sandbox::Item::Kind::Key;
        if (isKey && !item.before) {
            real::RemoveKey(item.place);
        } else if (isKey) {
            real::AddKey(item.place);
        } else if (!item.same && (item.before || !item.withKey)) {
            real::SetValue(item.place, item.name, item.before.value_or(""));
        }
    }
}

}  // namespace

std::string ToUtf8(std::string_view ansi) {
    return real::ToUtf8(ansi);
}

std::string FromUtf8(std::string_view utf8) {
    return real::FromUtf8(utf8);
}

// Named by who starts the tests.
fs::path BuiltProgram() {
    const wchar_t* const program = _wgetenv(L"UNINSTALL_PROGRAM");
    return program == nullptr ? L"UNINSTALL_PROGRAM" : program;
}

// As Wine 8 has it.
const bool Fixture::kHasFaults = false;
const bool Fixture::kMergesClasses = false;
const bool Fixture::kKeepsReadOnly = false;
const bool Fixture::kTellsIcons = false;

struct Fixture::Host {
    handles::Process job{CreateJobObjectA(nullptr, nullptr)};  // of the program and the script
};

Fixture::Fixture() : host_(std::make_unique<Host>()) {
    Clear();
    Answer({});
    Setting("folders", "temp=" + kTempFolder);
    real::Stage(TESTS_STAGE, BuiltProgram());
}

Fixture::~Fixture() {
    // A test that has broken off may have left one that waits for an answer.
    TerminateJobObject(host_->job.Get(), 1);
    LetGo();
    SetCurrentDirectoryA("C:\\windows");
}

fs::path Fixture::Place(const std::string& path) const {
    return real::Path(path);
}

Fixture& Fixture::Remove(const std::string& path) {
    real::RemoveTree(Place(path));
    return *this;
}

Fixture& Fixture::Attributes(const std::string& path, const std::string& attributes) {
    real::SetAttributes(Place(path), attributes);
    return *this;
}

Fixture& Fixture::Key(const std::string& key) {
    real::AddKey(key);
    return *this;
}

Fixture& Fixture::RemoveKey(const std::string& key) {
    real::RemoveKey(key);
    return *this;
}

Fixture& Fixture::Value(const std::string& key, const std::string& name, const std::string& value) {
    real::SetValue(key, name, value);
    return *this;
}

// Only the temporary folder is ours to set here, for processes that are started later.
Fixture& Fixture::Set(const std::string& /*section*/, const std::string& left,
                      const std::string& line) {
    if (left == "temp") {
        SetEnvironmentVariableA("TMP", FromUtf8(line.substr(left.size() + 1)).c_str());
    }
    return *this;
}

Fixture& Fixture::Link(const std::string& /*path*/, const std::string& /*target*/) {
    return *this;
}

void Fixture::Enter() {}

Outcome Fixture::Execute(const std::string& program, const std::string& arguments) {
    std::string path = FromUtf8(program);
    // Quotes around a part of it are the test's own.
    std::string command = path.find('"') == std::string::npos ? "\"" + path + "\"" : path;
    std::erase(path, '"');
    command += arguments.empty() ? "" : " " + FromUtf8(arguments);
    STARTUPINFOA startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION started{};
    EXPECT_TRUE(CreateProcessA(path.c_str(), command.data(), nullptr, nullptr, FALSE,
                               CREATE_SUSPENDED, nullptr, "C:\\windows", &startup, &started))
        << program << ": " << GetLastError();
    const handles::Process process(started.hProcess);
    const handles::Process thread(started.hThread);
    const HANDLE job = host_->job.Get();
    EXPECT_TRUE(AssignProcessToJobObject(job, process.Get()));
    ResumeThread(thread.Get());
    // A child is in the job from its first moment; lists of processes show it only later. No test
    // waits for time to pass: the limit ends only what would never end.
    JOBOBJECT_BASIC_ACCOUNTING_INFORMATION count{};
    const DWORD start = GetTickCount();
    do {
        Sleep(5);
        EXPECT_TRUE(QueryInformationJobObject(job, JobObjectBasicAccountingInformation, &count,
                                              sizeof count, nullptr));
    } while (count.ActiveProcesses != 0 && GetTickCount() - start < 300'000);
    EXPECT_EQ(count.ActiveProcesses, 0U) << "has no end";
    Outcome outcome;
    DWORD status = 0;
    EXPECT_TRUE(GetExitCodeProcess(process.Get(), &status));
    outcome.status = static_cast<int>(status);
    return outcome;
}

std::string Fixture::HostFolder() const {
    return {};
}

State Fixture::Look() const {
    State state;
    for (const fs::path& place : Territory()) {
        real::LookAt(place, state);
    }
    state.keys = real::ReadRegistry();
    return state;
}

std::string Fixture::Clipboard() const {
    const handles::Clipboard clipboard(nullptr);
    const HANDLE data = GetClipboardData(CF_TEXT);
    const auto* text = data == nullptr ? "" : static_cast<const char*>(GlobalLock(data));
    const std::string result = ToUtf8(text);
    GlobalUnlock(data);
    return result;
}

}  // namespace support
