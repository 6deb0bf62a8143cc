// The machine of the tests on Windows: the one they run on. It gets the staged files and
// keys before each test and keeps what the last one left, so it should be nobody's.
#include <gtest/gtest.h>

#include <set>

#include "tests/support/windows/real.h"

namespace support {

namespace fs = std::filesystem;

namespace {

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
    std::set<fs::path> places = EntriesOf("C:\\");
    std::erase_if(places, [](const fs::path& one) { return TheSystem().files.contains(one); });
    places.insert(kTempFolder);
    return places;
}

void Clear() {
    for (const fs::path& place : Territory()) {
        RemoveTree(place);
    }
    fs::create_directories(kTempFolder);  // the system may have spelt it otherwise
    for (const machine::Item& item :
         machine::Compare(TheSystem().state, {{}, ReadRealRegistry(), {}})) {
        if (item.kind == machine::Item::Kind::Value && !item.same) {
            SetRealValue(item.place, item.name, item.before.value_or(""));
        } else if (!item.before) {
            DeleteKeyTree(item.place);
        }
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
    // Of the program and of the script.
    handles::Process job{CreateJobObjectA(nullptr, nullptr)};
    handles::Process process;
};

Machine::Machine() : host_(std::make_unique<Host>()) {
    const fs::path stage = TESTS_STAGE;
    Clear();
    Answer({});
    Setting("folders", "temp=" + kTempFolder);
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

// Only the temporary folder is ours to set here, for processes that are started later.
Machine& Machine::Set(const std::string& /*section*/, const std::string& left,
                      const std::string& line) {
    if (left == "temp") {
        SetEnvironmentVariableA("TMP", FromUtf8(line.substr(left.size() + 1)).c_str());
    }
    return *this;
}

Machine& Machine::Link(const std::string& /*path*/, const std::string& /*target*/) {
    return *this;
}

void Machine::Enter() {}

void Machine::Start(const std::string& program, const std::string& arguments) {
    const std::string path = FromUtf8(program);
    std::string command = "\"" + path + "\"";
    command += arguments.empty() ? "" : " " + FromUtf8(arguments);
    STARTUPINFOA startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process{};
    ASSERT_TRUE(CreateProcessA(path.c_str(), command.data(), nullptr, nullptr, FALSE,
                               CREATE_SUSPENDED, nullptr, "C:\\windows", &startup, &process))
        << program << ": " << GetLastError();
    host_->process = handles::Process(process.hProcess);
    const handles::Process thread(process.hThread);
    ASSERT_NE(AssignProcessToJobObject(host_->job.Get(), process.hProcess), FALSE);
    ResumeThread(thread.Get());
}

Outcome Machine::Finish() {
    // A child is in the job from its first moment; lists of processes show it only later.
    JOBOBJECT_BASIC_ACCOUNTING_INFORMATION count{};
    EXPECT_TRUE(WaitUntil([&] {
        return QueryInformationJobObject(host_->job.Get(), JobObjectBasicAccountingInformation,
                                         &count, sizeof count, nullptr) != FALSE &&
               count.ActiveProcesses == 0;
    })) << "still running after the time limit";
    Outcome outcome;
    DWORD status = 0;
    EXPECT_TRUE(GetExitCodeProcess(host_->process.Get(), &status));
    outcome.status = static_cast<int>(status);
    outcome.shown = Shown();
    outcome.difference = Difference(before_, Look());
    return outcome;
}

std::string Machine::HostFolder() const {
    return {};
}

State Machine::Look() const {
    State state;
    for (const fs::path& place : Territory()) {
        for (const fs::path& path : TreeAt(place)) {
            state.files[ToUtf8(path.native())] = LookAt(path);
        }
    }
    state.keys = ReadRealRegistry();
    return state;
}

std::string Machine::Clipboard() const {
    const handles::Clipboard clipboard(nullptr);
    const HANDLE data = GetClipboardData(CF_TEXT);
    const auto* text = data == nullptr ? "" : static_cast<const char*>(GlobalLock(data));
    const std::string result = ToUtf8(text);
    GlobalUnlock(data);
    return result;
}

}  // namespace support
