// The machine of the tests on Windows: the one they run on. It gets the staged files and
// keys before each test and keeps what the last one left, so it should be nobody's.
#include <gtest/gtest.h>

#include <algorithm>
#include <set>

#include "platform/handles.h"
#include "tests/support/machine.h"
#include "tests/support/windows/answerer.h"
#include "tests/support/windows/real.h"

namespace support {

namespace fs = std::filesystem;

namespace {

// No test waits for time to pass: this ends only what would never end.
constexpr DWORD kTimeLimit = 300'000;  // milliseconds
const std::string kExplorer = kHklm + "Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\";

std::set<fs::path> EntriesOf(const fs::path& folder) {
    return {fs::directory_iterator(folder), {}};
}

// What was there before the first test.
struct System {
    std::set<fs::path> files = EntriesOf("C:\\");
    State state{{}, ReadRealRegistry(), {}};
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
    std::set<fs::path> places = EntriesOf(kTempFolder);
    places.merge(EntriesOf("C:\\"));
    std::erase_if(places, [](const fs::path& one) { return TheSystem().files.contains(one); });
    return places;
}

void Clear() {
    for (const fs::path& place : Territory()) {
        RemoveTree(place);
    }
    RemoveTree(kTempFolder);  // the system may write it otherwise
    fs::create_directories(kTempFolder);
    for (const machine::Item& item :
         machine::Compare(TheSystem().state, {{}, ReadRealRegistry(), {}})) {
        if (item.kind == machine::Item::Kind::Value && !item.same) {
            SetRealValue(item.place, item.name, item.before.value_or(""));
        } else if (!item.before) {
            DeleteKeyTree(item.place);
        }
    }
}

// For the processes that are started from now on.
void UseTemp(const std::string& folder) {
    for (const char* name : {"TMP", "TEMP"}) {
        SetEnvironmentVariableA(name, FromUtf8(folder).c_str());
    }
}

}  // namespace

// Named by who starts the tests.
fs::path BuiltProgram() {
    const wchar_t* const program = _wgetenv(L"UNINSTALL_PROGRAM");
    return program == nullptr ? L"UNINSTALL_PROGRAM" : program;
}

// As Wine 8 has it.
const bool Machine::kObeysSettings = false;
const bool Machine::kMergesClasses = false;
const bool Machine::kKeepsReadOnly = false;
const bool Machine::kTellsIcons = false;

struct Machine::Host {
    // How many processes of the program and of the script are running. A child is in the job
    // from its first moment; lists of processes show it only later.
    [[nodiscard]] DWORD Running() const {
        JOBOBJECT_BASIC_ACCOUNTING_INFORMATION count{};
        EXPECT_NE(QueryInformationJobObject(job.Get(), JobObjectBasicAccountingInformation, &count,
                                            sizeof count, nullptr),
                  FALSE);
        return count.ActiveProcesses;
    }

    handles::Process job{CreateJobObjectA(nullptr, nullptr)};
    handles::Process process;
};

Machine::Machine() : host_(std::make_unique<Host>()) {
    const fs::path stage = TESTS_STAGE;
    Clear();
    Answer({});
    UseTemp(kTempFolder);
    const std::string menu = kGroupFolder.substr(0, kGroupFolder.rfind('\\'));
    for (const char* folders : {"User Shell Folders", "Shell Folders"}) {
        SetRealValue(kExplorer + folders, "Common Programs",
                     regtext::FormatValue({1, menu + '\0'}));
    }
    for (const auto& [key, values] : regtext::Parse(ReadBytes(stage / "registry.reg"))) {
        MakeKey(key);
        for (const auto& [name, value] : values) {
            SetRealValue(key, name, value);
        }
    }
    for (const StagedFile& file : ReadStagedFiles(stage / "files.txt")) {
        if (file.kind == StagedFile::Kind::Folder) {
            Folder(file.path);
        } else if (file.kind == StagedFile::Kind::Program) {
            Program(file.path);
        } else if (!file.path.starts_with("C:\\windows\\system32") &&
                   !file.path.ends_with("Notepad.exe")) {
            File(file.path, file.content, file.attributes);  // the system has its own
        }
    }
}

Machine::~Machine() {
    // A test that has broken off may have left one that waits for an answer.
    TerminateJobObject(host_->job.Get(), 1);
    LetGo();
    SetCurrentDirectoryA("C:\\windows");
}

fs::path Machine::Place(const std::string& path) const {
    return RealPath(path);
}

Machine& Machine::Remove(const std::string& path) {
    RemoveTree(Place(path));
    return *this;
}

Machine& Machine::Attributes(const std::string& path, const std::string& attributes) {
    SetRealAttributes(Place(path), attributes);
    return *this;
}

Machine& Machine::Key(const std::string& key) {
    MakeKey(key);
    return *this;
}

Machine& Machine::RemoveKey(const std::string& key) {
    DeleteKeyTree(key);
    return *this;
}

Machine& Machine::Value(const std::string& key, const std::string& name, const std::string& value) {
    SetRealValue(key, name, value);
    return *this;
}

// Only the temporary folder is ours to set here.
Machine& Machine::Set(const std::string& /*section*/, const std::string& left,
                      const std::string& line) {
    if (left == "temp") {
        UseTemp(line.substr(left.size() + 1));
    }
    return *this;
}

Machine& Machine::Link(const std::string& /*path*/, const std::string& /*target*/) {
    return *this;
}

void Machine::Enter() {}

void Machine::Answer(const std::vector<std::string>& answers) {
    AnswerOnScreen(answers);
}

std::vector<std::string> Machine::Shown() const {
    return ShownOnScreen();
}

void Machine::Start(const std::string& program, const std::string& arguments) {
    const std::string path = FromUtf8(program);
    std::string command = "\"" + path + "\"";
    command += arguments.empty() ? "" : " " + FromUtf8(arguments);
    STARTUPINFOA startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process{};
    ASSERT_NE(CreateProcessA(path.c_str(), command.data(), nullptr, nullptr, FALSE,
                             CREATE_SUSPENDED, nullptr, "C:\\windows", &startup, &process),
              FALSE)
        << program << ": " << GetLastError();
    host_->process = handles::Process(process.hProcess);
    const handles::Process thread(process.hThread);
    ASSERT_NE(AssignProcessToJobObject(host_->job.Get(), process.hProcess), FALSE);
    ResumeThread(thread.Get());
}

Machine& Machine::StopAt(const std::string& /*call*/) {
    HoldQuestions(true);
    return *this;
}

void Machine::WaitUntilStopped() {
    for (const DWORD start = GetTickCount(); !IsQuestionHeld(); Sleep(5)) {
        ASSERT_LT(GetTickCount() - start, kTimeLimit) << "nothing is asked";
    }
}

void Machine::GoOn() {
    HoldQuestions(false);
}

Outcome Machine::Finish() {
    Outcome outcome;
    const DWORD start = GetTickCount();
    if (WaitForSingleObject(host_->process.Get(), kTimeLimit) == WAIT_OBJECT_0) {
        DWORD status = 0;
        GetExitCodeProcess(host_->process.Get(), &status);
        outcome.status = static_cast<int>(status);
    }
    while (host_->Running() > 0 && GetTickCount() - start < kTimeLimit) {
        Sleep(10);
    }
    EXPECT_EQ(host_->Running(), 0U) << "still running after the time limit";
    outcome.shown = Shown();
    outcome.difference = Difference(before_, Look());
    return outcome;
}

std::string Machine::HostFolder() const {
    return {};
}

State Machine::Look() const {
    State state;
    const auto add = [&state](const fs::path& place) {
        state.files[ToUtf8(place.native())] = LookAt(place);
    };
    for (const fs::path& place : Territory()) {
        add(place);
        if (fs::is_directory(place)) {
            std::for_each(fs::recursive_directory_iterator(place), {}, add);
        }
    }
    state.keys = ReadRealRegistry();
    return state;
}

std::string Machine::Clipboard() const {
    const handles::Clipboard clipboard(nullptr);
    const HANDLE data = clipboard.IsOpen() ? GetClipboardData(CF_TEXT) : nullptr;
    const auto* text = data == nullptr ? nullptr : static_cast<const char*>(GlobalLock(data));
    const std::string result = text == nullptr ? "" : ToUtf8(text);
    if (text != nullptr) {
        GlobalUnlock(data);
    }
    return result;
}

}  // namespace support
