// The machine of the tests on Windows: the one they run on. It gets the staged files and
// keys before each test and loses them afterwards, so it should be nobody's.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <set>
#include <sstream>

#include "platform/handles.h"
// Builds on the types of windows.h.
#include <tlhelp32.h>

#include "tests/support/machine.h"
#include "tests/support/windows/answerer.h"
#include "tests/support/windows/files.h"
#include "tests/support/windows/registry.h"
#include "tests/support/windows/text.h"
#include "tools/machine/stage.h"

namespace support {
namespace {

constexpr DWORD kTimeLimit = 30000;  // milliseconds
const std::string kExplorer = kHklm + "Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\";
// The folders that are the tests' own: emptied before and after each.
const std::vector<std::string> kTerritory{"C:\\Programme", "C:\\Dokumente und Einstellungen",
                                          kTempFolder};

// The uninstaller that the tests drive, named by who starts them.
std::string BuiltProgram() {
    static const std::string program = [] {
        std::array<char, MAX_PATH> path{};
        GetEnvironmentVariableA("UNINSTALL_PROGRAM", path.data(), path.size());
        return ReadRealFile(ToUtf8(path.data()));
    }();
    if (program.empty()) {
        throw std::runtime_error("UNINSTALL_PROGRAM names no program");
    }
    return program;
}

// How many of the program's processes, and of the script's, are running.
unsigned Running() {
    const handles::File list(CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0));
    PROCESSENTRY32 entry{};
    entry.dwSize = sizeof entry;
    unsigned count = 0;
    for (BOOL more = Process32First(list.Get(), &entry); more != FALSE;
         more = Process32Next(list.Get(), &entry)) {
        const std::string name = entry.szExeFile;
        count += name == "UnInstall.exe" || name == "Remove.exe" || name == "cmd.exe" ? 1 : 0;
    }
    return count;
}

// The tops of what a stage's registry holds: everything the tests have there.
std::set<std::string> Sections(const std::string& text) {
    std::set<std::string> sections;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with('[')) {
            sections.insert(line.substr(1, line.rfind(']') - 1));
        }
    }
    return sections;
}

}  // namespace

std::string AnsiToUtf8(std::string_view ansi) {
    return ToUtf8(ansi);
}

const bool Machine::kObeysSettings = false;

bool Machine::MergesClasses() {
    static const bool merges = [] {
        const std::string probe = kUser + "Software\\Classes\\UnInstall-Probe";
        MakeKey(probe);
        handles::Key key;
        const LSTATUS code =
            RegOpenKeyExA(HKEY_CLASSES_ROOT, "UnInstall-Probe", 0, KEY_QUERY_VALUE, key.Receive());
        DeleteKeyTree(probe);
        return code == ERROR_SUCCESS;
    }();
    return merges;
}

bool Machine::KeepsReadOnly() {
    static const bool keeps = [] {
        const std::string probe = "C:\\UnInstall-Probe";
        WriteRealFile(probe, "x");
        SetRealAttributes(probe, "R");
        const handles::File file(
            CreateFileA(probe.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr));
        return !file;
    }();
    RemoveTree("C:\\UnInstall-Probe");
    return keeps;
}

namespace {

// For the processes that are started from now on.
void UseTemp(const std::string& folder) {
    for (const char* name : {"TMP", "TEMP"}) {
        SetEnvironmentVariableA(name, FromUtf8(folder).c_str());
    }
}

}  // namespace

struct Machine::Host {
    Answerer answerer;
    State before;
    std::set<std::string> sections;  // keys to take away afterwards
    std::set<std::string> paths;
    handles::Process process;
    handles::File held;  // another process is not needed: sharing is kept between handles

    // A path that a test makes: its top folder is the test's, but never the system's own.
    void Remember(const std::string& path) {
        const std::string system = "C:\\windows\\";
        const std::size_t start = path.starts_with(system) ? system.size() : 3;
        const std::string top = path.substr(0, path.find('\\', start));
        if (std::find(kTerritory.begin(), kTerritory.end(), top) == kTerritory.end()) {
            paths.insert(top);
        }
    }
    void Clear() {
        for (auto section = sections.rbegin(); section != sections.rend(); ++section) {
            DeleteKeyTree(*section);
        }
        for (const std::string& path : kTerritory) {
            RemoveTree(path);
        }
        for (const std::string& path : paths) {
            RemoveTree(path);
        }
    }
};

Machine::Machine() : host_(std::make_unique<Host>()) {
    const std::filesystem::path stage = TESTS_STAGE;
    const std::string registry = ReadBytes(stage / "registry.reg");
    host_->sections = Sections(registry);
    host_->sections.insert(kHklm + kMakerKey);
    host_->Clear();
    UseTemp(kTempFolder);
    for (const char* folders : {"User Shell Folders", "Shell Folders"}) {
        SetRealValue(
            kExplorer + folders, "Common Programs",
            regtext::FormatValue({1, kGroupFolder.substr(0, kGroupFolder.rfind('\\')) + '\0'}));
    }
    for (const auto& [key, values] : regtext::Parse(registry)) {
        MakeKey(key);
        for (const auto& [name, value] : values) {
            SetRealValue(key, name, value);
        }
    }
    for (const StagedFile& file : ReadStagedFiles(stage / "files.txt")) {
        if (file.path.starts_with("C:\\windows\\system32") || file.path.ends_with("Notepad.exe")) {
            continue;  // the system has its own
        }
        if (file.kind == StagedFile::Kind::Folder) {
            MakeFolders(file.path);
        } else {
            WriteRealFile(file.path,
                          file.kind == StagedFile::Kind::Program ? BuiltProgram() : file.content);
        }
        SetRealAttributes(file.path, file.attributes);
    }
}

Machine::~Machine() {
    LetGo();
    SetCurrentDirectoryA("C:\\windows");
    host_->Clear();
}

Machine& Machine::File(const std::string& path, const std::string& content,
                       const std::string& attributes) {
    host_->Remember(path);
    WriteRealFile(path, content);
    return Attributes(path, attributes);
}

Machine& Machine::Folder(const std::string& path) {
    host_->Remember(path);
    MakeFolders(path);
    return *this;
}

Machine& Machine::Program(const std::string& path) {
    return File(path, BuiltProgram());
}

Machine& Machine::Remove(const std::string& path) {
    RemoveTree(path);
    return *this;
}

Machine& Machine::Attributes(const std::string& path, const std::string& attributes) {
    SetRealAttributes(path, attributes);
    return *this;
}

Machine& Machine::Key(const std::string& key) {
    host_->sections.insert(key);
    MakeKey(key);
    return *this;
}

Machine& Machine::RemoveKey(const std::string& key) {
    DeleteKeyTree(key);
    return *this;
}

Machine& Machine::Value(const std::string& key, const std::string& name, const std::string& value) {
    host_->sections.insert(key);
    SetRealValue(key, name, value);
    return *this;
}

Machine& Machine::RemoveValue(const std::string& key, const std::string& name) {
    DeleteRealValue(key, name);
    return *this;
}

// Only the temporary folder is ours to set here.
Machine& Machine::Setting(const std::string& section, const std::string& line) {
    const std::string temp = "temp=";
    if (section == "folders" && line.starts_with(temp)) {
        UseTemp(line.substr(temp.size()));
    }
    return *this;
}

Machine& Machine::NoSetting(const std::string&, const std::string&) {
    return *this;
}

Machine& Machine::Link(const std::string&, const std::string&) {
    return *this;
}

void Machine::Enter() {}

void Machine::Answer(const std::vector<std::string>& answers) {
    host_->answerer.Reset(answers);
}

std::vector<std::string> Machine::Shown() const {
    return host_->answerer.Shown();
}

void Machine::Begin(const std::vector<std::string>& answers) {
    Answer(answers);
    host_->before = Look();
}

void Machine::Start(const std::string& program, const std::string& arguments) {
    const std::string path = FromUtf8(program);
    std::string command = "\"" + path + "\"";
    command += arguments.empty() ? "" : " " + FromUtf8(arguments);
    STARTUPINFOA startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process{};
    ASSERT_NE(CreateProcessA(path.c_str(), command.data(), nullptr, nullptr, FALSE, 0, nullptr,
                             "C:\\windows", &startup, &process),
              FALSE)
        << program << ": " << GetLastError();
    host_->process = handles::Process(process.hProcess);
    CloseHandle(process.hThread);
}

Machine& Machine::StopAt(const std::string&) {
    return *this;
}

void Machine::WaitUntilStopped() {
    for (const DWORD start = GetTickCount(); Shown().empty(); Sleep(5)) {
        ASSERT_LT(GetTickCount() - start, kTimeLimit) << "nothing is shown";
    }
}

void Machine::GoOn() {}

Outcome Machine::Finish() {
    Outcome outcome;
    const DWORD start = GetTickCount();
    if (WaitForSingleObject(host_->process.Get(), kTimeLimit) == WAIT_OBJECT_0) {
        DWORD status = 0;
        GetExitCodeProcess(host_->process.Get(), &status);
        outcome.status = static_cast<int>(status);
    }
    while (Running() > 0 && GetTickCount() - start < kTimeLimit) {
        Sleep(10);
    }
    EXPECT_EQ(Running(), 0U) << "still running after the time limit";
    outcome.shown = Shown();
    outcome.difference = Difference(host_->before, Look());
    return outcome;
}

void Machine::HoldOpen(const std::string& path) {
    host_->held = handles::File(CreateFileA(FromUtf8(path).c_str(), GENERIC_READ, FILE_SHARE_READ,
                                            nullptr, OPEN_EXISTING, 0, nullptr));
    ASSERT_TRUE(static_cast<bool>(host_->held)) << path;
}

void Machine::LetGo() {
    host_->held.Close();
}

std::string Machine::HostFolder() const {
    return {};
}

State Machine::Look() const {
    State state;
    for (const std::string& path : kTerritory) {
        LookAtTree(path, path != kTempFolder, state);
    }
    for (const std::string& path : host_->paths) {
        LookAtTree(path, true, state);
    }
    state.keys = ReadRealRegistry();
    return state;
}

std::string Machine::Content(const std::string& path) const {
    return ReadRealFile(path);
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

unsigned Machine::Calls(const std::string&, const std::string&) const {
    return 0;
}

}  // namespace support
