// The machine of the tests on Linux: a folder in the temporary directory, the program as
// a child process. Processes that outlive their parent become children of the test
// process, so "no child left" means that the machine is idle.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <fstream>
#include <set>
#include <sstream>

#include "platform/hosted/descriptor.h"
#include "platform/hosted/machine.h"
#include "tests/support/hosted/folder.h"
#include "tests/support/machine.h"
#include "tests/support/stage.h"
#include "tests/support/transcript.h"

namespace support {
namespace {

using hosted::Descriptor;

// No test waits for time to pass: this ends only what would never end.
constexpr int kTimeLimit = 300'000;  // milliseconds

fs::path FreshFolder() {
    std::string name = (fs::temp_directory_path() / "uninstall-test-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) {
        throw std::runtime_error("no temporary folder");
    }
    return name;
}

// The processes that hold files, of all machines of this process: nobody waits for them.
std::set<pid_t>& Holders() {
    static std::set<pid_t> holders;
    return holders;
}

// The children of this process but for those, by id.
std::vector<pid_t> Children() {
    const std::string self = std::to_string(getpid());
    std::ifstream list("/proc/" + self + "/task/" + self + "/children");
    std::vector<pid_t> children;
    for (pid_t child = 0; list >> child;) {
        if (!Holders().contains(child)) {
            children.push_back(child);
        }
    }
    return children;
}

bool IsReadable(int descriptor, int orOther = -1) {
    std::array<pollfd, 2> wait{{{descriptor, POLLIN, 0}, {orOther, POLLIN, 0}}};
    return poll(wait.data(), wait.size(), kTimeLimit) > 0 && (wait[0].revents & POLLIN) != 0;
}

// Can be read when the child has ended.
Descriptor EndOf(pid_t child) {
    return Descriptor(static_cast<int>(syscall(SYS_pidfd_open, child, 0)));
}

// Waits until a child has ended and returns its exit status, -1 for one that had to be killed.
int WaitFor(pid_t child) {
    const bool ends = IsReadable(EndOf(child).Get());
    if (!ends) {
        kill(child, SIGKILL);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return !ends ? -1 : WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

// Waits until no child is left and returns the exit status of the program, -1 when one had
// to be killed. The children of one that has ended are there before its end is seen.
int WaitForAll(pid_t program) {
    int result = -1;
    bool allEnded = true;
    for (;;) {
        const std::vector<pid_t> children = Children();
        if (children.empty()) {
            return allEnded ? result : -1;
        }
        const int status = WaitFor(children.front());
        allEnded = allEnded && status != -1;
        if (children.front() == program) {
            result = status;
        }
    }
}

// Starts a program with these descriptors as its standard streams.
pid_t StartProcess(const fs::path& program, std::vector<std::string> arguments, int input,
                   int output, int errors) {
    arguments.insert(arguments.begin(), program.string());
    std::vector<char*> pointers(arguments.size() + 1);
    std::transform(arguments.begin(), arguments.end(), pointers.begin(),
                   [](std::string& word) { return word.data(); });
    const pid_t child = fork();
    if (child == 0) {
        if (dup2(input, STDIN_FILENO) >= 0 && dup2(output, STDOUT_FILENO) >= 0 &&
            dup2(errors, STDERR_FILENO) >= 0) {
            execv(pointers[0], pointers.data());
        }
        _exit(127);
    }
    return child;
}

std::string ReadIfThere(const fs::path& file) {
    return fs::exists(file) ? ReadBytes(file) : "";
}

// What the command interpreter could not do and answers that do not fit are part of what a
// test may want; a process that says anything else has a fault.
bool IsExpected(const std::string& line) {
    return line.starts_with("del \"") || line.starts_with("start \"") ||
           line.starts_with("answer \"") || line.starts_with("unknown command: ") ||
           line == "UnInstall: nobody answers, and the questions have no end.";
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
    bool isStopped = false;
    pid_t holder = 0;  // of a file
    Descriptor hold;   // it ends when this is closed
};

Machine::Machine() : host_(std::make_unique<Host>()) {
    prctl(PR_SET_CHILD_SUBREAPER, 1);
    host_->folder.Stage(TESTS_STAGE, TESTS_PROGRAM);
}

Machine::~Machine() {
    LetGo();
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
    keys[key];
    host_->folder.WriteRegistry(keys);
    return *this;
}

Machine& Machine::RemoveKey(const std::string& key) {
    Keys keys = host_->folder.ReadRegistry();
    std::erase_if(keys, [&key](const auto& entry) {
        return entry.first == key || entry.first.starts_with(key + "\\");
    });
    host_->folder.WriteRegistry(keys);
    return *this;
}

Machine& Machine::Value(const std::string& key, const std::string& name, const std::string& value) {
    Keys keys = host_->folder.ReadRegistry();
    keys[key][name] = value;
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
    hosted::Machine::Use(host_->folder.Folder());
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
    const Descriptor nothing(open("/dev/null", O_RDWR | O_CLOEXEC));
    const Descriptor errors(open((host_->folder.Folder() / "errors.txt").c_str(),
                                 O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0666));
    host_->process = StartProcess(host_->folder.Host(program), words, nothing.Get(), nothing.Get(),
                                  errors.Get());
}

Machine& Machine::StopAt(const std::string& call) {
    for (const char* pipe : {"stopped", "go"}) {
        mkfifo((host_->folder.Folder() / pipe).c_str(), 0666);
    }
    return Setting("faults", call + "=stop");
}

void Machine::WaitUntilStopped() {
    const fs::path pipe = host_->folder.Folder() / "stopped";
    const Descriptor stopped(open(pipe.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    host_->isStopped = IsReadable(stopped.Get(), EndOf(host_->process).Get());
    ASSERT_TRUE(host_->isStopped) << "it never comes there";
    std::array<char, 1000> line{};
    ASSERT_GT(read(stopped.Get(), line.data(), line.size()), 0);
}

void Machine::GoOn() {
    if (std::exchange(host_->isStopped, false)) {
        std::ofstream(host_->folder.Folder() / "go") << "go\n";
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
    std::istringstream lines(outcome.errors);
    for (std::string line; std::getline(lines, line);) {
        EXPECT_TRUE(IsExpected(line)) << line;
    }
    EXPECT_NE(outcome.status, -1) << "still running after the time limit\n"
                                  << ReadIfThere(folder / "transcript.txt");
    return outcome;
}

void Machine::HoldOpen(const std::string& path) {
    LetGo();
    std::array<int, 2> ends{};
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()), 0);
    host_->hold = Descriptor(ends[0]);
    Descriptor theirs(ends[1]);
    host_->holder = StartProcess(TESTS_HOLD_OPEN, {host_->folder.Folder().string(), path},
                                 theirs.Get(), theirs.Get(), STDERR_FILENO);
    Holders().insert(host_->holder);
    theirs.Close();
    std::array<char, 20> answer{};
    ASSERT_GT(read(host_->hold.Get(), answer.data(), answer.size() - 1), 0);
    EXPECT_STREQ(answer.data(), "open\n") << path;
}

void Machine::LetGo() {
    host_->hold = Descriptor();
    if (host_->holder != 0) {
        Holders().erase(host_->holder);
        WaitFor(std::exchange(host_->holder, 0));
    }
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

unsigned Machine::Calls(const std::string& function, const std::string& argument) const {
    std::istringstream lines(ReadIfThere(host_->folder.Folder() / "calls.txt"));
    unsigned count = 0;
    for (std::string line; std::getline(lines, line);) {
        count += line.find("\t" + function + "\t") != std::string::npos &&
                         line.ends_with("\t" + argument)
                     ? 1
                     : 0;
    }
    return count;
}

}  // namespace support
