// The machine of the tests on Linux: a folder in the temporary directory, the program as
// a child process. Processes that outlive their parent become children of the test
// process, so "no child left" means that the machine is idle.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <fstream>
#include <sstream>
#include <thread>

#include "platform/hosted/machine.h"
#include "tests/support/hosted/folder.h"
#include "tests/support/machine.h"
#include "tests/support/stage.h"
#include "tests/support/transcript.h"

namespace support {
namespace {

using Clock = std::chrono::steady_clock;
constexpr auto kTimeLimit = std::chrono::seconds(90);

fs::path FreshFolder() {
    std::string name = (fs::temp_directory_path() / "uninstall-test-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) {
        throw std::runtime_error("no temporary folder");
    }
    return name;
}

// The children of this process, by id.
std::vector<pid_t> Children() {
    const std::string self = std::to_string(getpid());
    std::ifstream list("/proc/" + self + "/task/" + self + "/children");
    std::vector<pid_t> children;
    for (pid_t child = 0; list >> child;) {
        children.push_back(child);
    }
    return children;
}

// Waits until no child is left and returns the exit status of one of them, -1 when the
// time was over: then the children, and theirs in turn, have been killed.
int WaitForAll(pid_t program) {
    const Clock::time_point start = Clock::now();
    bool inTime = true;
    int result = -1;
    for (;;) {
        int status = 0;
        const pid_t ended = waitpid(-1, &status, WNOHANG);
        if (ended < 0 && errno == ECHILD) {
            return inTime ? result : -1;
        }
        if (ended == program) {
            result = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
        }
        if (ended == 0) {
            if (Clock::now() - start > kTimeLimit) {
                inTime = false;
                for (const pid_t child : Children()) {
                    kill(child, SIGKILL);
                }
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
        }
    }
}

// Puts a file in the place of a standard stream.
bool Redirect(int stream, const fs::path& file, int flags) {
    const int opened = open(file.c_str(), flags | O_CREAT, 0666);
    return opened >= 0 && dup2(opened, stream) >= 0;
}

pid_t StartProcess(const fs::path& program, std::vector<std::string> arguments,
                   const fs::path& errors) {
    arguments.insert(arguments.begin(), program.string());
    std::vector<char*> pointers(arguments.size() + 1);
    std::transform(arguments.begin(), arguments.end(), pointers.begin(),
                   [](std::string& word) { return word.data(); });
    const pid_t child = fork();
    if (child == 0) {
        if (Redirect(STDIN_FILENO, "/dev/null", O_RDONLY) &&
            Redirect(STDOUT_FILENO, "/dev/null", O_WRONLY) &&
            Redirect(STDERR_FILENO, errors, O_WRONLY | O_APPEND)) {
            execv(pointers[0], pointers.data());
        }
        _exit(127);
    }
    return child;
}

std::string ReadIfThere(const fs::path& file) {
    return fs::exists(file) ? ReadBytes(file) : "";
}

}  // namespace

std::string AnsiToUtf8(std::string_view ansi) {
    return hosted::ToUtf8(ansi);
}

const bool Machine::kObeysSettings = true;

bool Machine::MergesClasses() {
    return true;
}

bool Machine::KeepsReadOnly() {
    return true;
}

struct Machine::Host {
    MachineFolder folder{FreshFolder()};
    State before;
    pid_t process = 0;
};

Machine::Machine() : host_(std::make_unique<Host>()) {
    prctl(PR_SET_CHILD_SUBREAPER, 1);
    host_->folder.Stage(TESTS_STAGE, TESTS_PROGRAM);
}

Machine::~Machine() {
    host_->folder.Leave();
    std::error_code ignored;  // what cannot be removed stays in the temporary directory
    fs::remove_all(host_->folder.Folder(), ignored);
}

Machine& Machine::File(const std::string& path, const std::string& content,
                       const std::string& attributes) {
    fs::create_directories(host_->folder.Host(path).parent_path());
    WriteBytes(host_->folder.Host(path), content);
    return Attributes(path, attributes);
}

Machine& Machine::Folder(const std::string& path) {
    fs::create_directories(host_->folder.Host(path));
    return *this;
}

Machine& Machine::Program(const std::string& path) {
    fs::create_directories(host_->folder.Host(path).parent_path());
    fs::copy_file(TESTS_PROGRAM, host_->folder.Host(path), fs::copy_options::overwrite_existing);
    return *this;
}

Machine& Machine::Remove(const std::string& path) {
    fs::remove_all(host_->folder.Host(path));
    return Attributes(path, "");
}

Machine& Machine::Attributes(const std::string& path, const std::string& attributes) {
    host_->folder.SetAttributes(path, attributes);
    return *this;
}

Machine& Machine::Key(const std::string& key) {
    Keys keys = host_->folder.ReadRegistry();
    regtext::AddKey(keys, key);
    host_->folder.WriteRegistry(keys);
    return *this;
}

Machine& Machine::RemoveKey(const std::string& key) {
    Keys keys = host_->folder.ReadRegistry();
    regtext::RemoveTree(keys, key);
    host_->folder.WriteRegistry(keys);
    return *this;
}

Machine& Machine::Value(const std::string& key, const std::string& name, const std::string& value) {
    Keys keys = host_->folder.ReadRegistry();
    regtext::AddKey(keys, key)[name] = value;
    host_->folder.WriteRegistry(keys);
    return *this;
}

Machine& Machine::RemoveValue(const std::string& key, const std::string& name) {
    Keys keys = host_->folder.ReadRegistry();
    keys[key].erase(name);
    host_->folder.WriteRegistry(keys);
    return *this;
}

Machine& Machine::Setting(const std::string& section, const std::string& line) {
    host_->folder.ChangeSetting(section, line.substr(0, line.find('=')), line);
    return *this;
}

Machine& Machine::NoSetting(const std::string& section, const std::string& left) {
    host_->folder.ChangeSetting(section, left, "");
    return *this;
}

Machine& Machine::Link(const std::string& path, const std::string& target) {
    fs::create_symlink(host_->folder.Host(target), host_->folder.Host(path));
    return *this;
}

void Machine::Enter() {
    host_->folder.Enter();
}

void Machine::Answer(const std::vector<std::string>& answers) {
    std::string lines;
    for (const std::string& answer : answers) {
        lines += answer + "\n";
    }
    WriteBytes(host_->folder.Folder() / "answers.txt", lines);
    fs::remove(host_->folder.Folder() / "transcript.txt");
}

std::vector<std::string> Machine::Shown() const {
    return ParseTranscript(ReadIfThere(host_->folder.Folder() / "transcript.txt"));
}

void Machine::Begin(const std::vector<std::string>& answers) {
    Answer(answers);
    host_->before = Look();
    // Sanitizers report there: the terminal of a detached process is nobody's.
    const std::string reports = "log_path=" + (host_->folder.Folder() / "sanitizer").string();
    setenv("ASAN_OPTIONS", reports.c_str(), 1);
    setenv("UBSAN_OPTIONS", reports.c_str(), 1);
}

void Machine::Start(const std::string& program, const std::string& arguments) {
    std::vector<std::string> words;
    if (!arguments.empty()) {
        words.push_back(arguments);
    }
    host_->process =
        StartProcess(host_->folder.Host(program), words, host_->folder.Folder() / "errors.txt");
}

void Machine::WaitUntilShown(const std::string& part) {
    const Clock::time_point start = Clock::now();
    while (ReadIfThere(host_->folder.Folder() / "transcript.txt").find(part) == std::string::npos) {
        ASSERT_LT(Clock::now() - start, kTimeLimit) << part << " is never shown";
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

Outcome Machine::Finish() {
    const fs::path& folder = host_->folder.Folder();
    Outcome outcome;
    outcome.status = WaitForAll(host_->process);
    outcome.shown = Shown();
    outcome.difference = Difference(host_->before, Look());
    outcome.errors = ReadIfThere(folder / "errors.txt") + ReadIfThere(folder / "log.txt");
    for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
        if (entry.path().filename().string().starts_with("sanitizer")) {
            outcome.errors += ReadBytes(entry.path());
        }
    }
    EXPECT_NE(outcome.status, -1) << "still running after the time limit\n"
                                  << ReadIfThere(folder / "transcript.txt");
    return outcome;
}

void Machine::HoldOpen(const std::string& path, unsigned milliseconds) {
    const fs::path ready = host_->folder.Folder() / "held";
    fs::remove(ready);
    StartProcess(TESTS_HOLD_OPEN,
                 {host_->folder.Folder().string(), path, std::to_string(milliseconds)}, ready);
    const Clock::time_point start = Clock::now();
    while (ReadIfThere(ready).empty() && Clock::now() - start < kTimeLimit) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    EXPECT_EQ(ReadIfThere(ready), "open\n") << path;
}

void Machine::WaitUntilClosed() {
    WaitForAll(0);
}

std::string Machine::HostFolder() const {
    return host_->folder.Folder().string();
}

State Machine::Look() const {
    return host_->folder.Look();
}

std::string Machine::Content(const std::string& path) const {
    return ReadIfThere(host_->folder.Host(path));
}

std::string Machine::Clipboard() const {
    return ReadIfThere(host_->folder.Folder() / "clipboard.txt");
}

unsigned Machine::Calls(const std::string& function) const {
    std::istringstream lines(ReadIfThere(host_->folder.Folder() / "calls.txt"));
    unsigned count = 0;
    for (std::string line; std::getline(lines, line);) {
        count += line.find(" " + function + " ") != std::string::npos ? 1 : 0;
    }
    return count;
}

}  // namespace support
