// The machine of the tests on Linux: a folder in the temporary directory, the program as
// a child process. Processes that outlive their parent become children of the test
// process, so "no child left" means that the machine is idle.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <fstream>
#include <iterator>
#include <sstream>

#include "platform/hosted/descriptor.h"
#include "platform/hosted/machine.h"
#include "tests/support/hosted/folder.h"
#include "tests/support/hosted/transcript.h"
#include "tests/support/machine.h"

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

std::vector<pid_t> Children() {
    const std::string self = std::to_string(getpid());
    std::ifstream list("/proc/" + self + "/task/" + self + "/children");
    return {std::istream_iterator<pid_t>(list), {}};
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

std::string ToUtf8(std::string_view ansi) {
    return hosted::ToUtf8(ansi);
}

std::string FromUtf8(std::string_view utf8) {
    return hosted::FromUtf8(utf8);
}

fs::path BuiltProgram() {
    return TESTS_PROGRAM;
}

const bool Machine::kObeysSettings = true;
const bool Machine::kMergesClasses = true;
const bool Machine::kKeepsReadOnly = true;
const bool Machine::kTellsIcons = true;

struct Machine::Host {
    enum class Event { Ended, Signalled, Idle };
    // Waits until a process has ended, or until there is something to read in a pipe. The
    // children of one that has ended are there before its end is seen.
    Event Next(int pipe = -1);

    MachineFolder folder{FreshFolder()};
    pid_t process = 0;
    int status = -1;  // of that process
    bool overdue = false;
    Descriptor go;
};

Machine::Host::Event Machine::Host::Next(int pipe) {
    const std::vector<pid_t> children = Children();
    if (children.empty()) {
        return Event::Idle;
    }
    const Descriptor ending(static_cast<int>(syscall(SYS_pidfd_open, children.front(), 0)));
    std::array<pollfd, 2> waits{{{ending.Get(), POLLIN, 0}, {pipe, POLLIN, 0}}};
    if (poll(waits.data(), waits.size(), kTimeLimit) == 0) {
        overdue = true;
        kill(children.front(), SIGKILL);
    } else if ((waits[1].revents & POLLIN) != 0) {
        return Event::Signalled;
    }
    int ended = 0;
    waitpid(children.front(), &ended, 0);
    if (children.front() == process) {
        status = WIFEXITED(ended) ? WEXITSTATUS(ended) : 128 + WTERMSIG(ended);
    }
    return Event::Ended;
}

Machine::Machine() : host_(std::make_unique<Host>()) {
    prctl(PR_SET_CHILD_SUBREAPER, 1);
    host_->folder.Stage(TESTS_STAGE, TESTS_PROGRAM);
}

Machine::~Machine() {
    // A test that has broken off may have left one that waits to go on.
    for (auto children = Children(); !children.empty(); children = Children()) {
        kill(children.front(), SIGKILL);
        waitpid(children.front(), nullptr, 0);
    }
    LetGo();
    host_->folder.Leave();
    std::error_code ignored;  // what cannot be removed stays in the temporary directory
    fs::remove_all(host_->folder.Folder(), ignored);
}

fs::path Machine::Place(const std::string& path) const {
    return host_->folder.Host(path);
}

Machine& Machine::Remove(const std::string& path) {
    fs::remove_all(Place(path));
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

Machine& Machine::Set(const std::string& section, const std::string& left,
                      const std::string& line) {
    host_->folder.ChangeSetting(section, left, line);
    return *this;
}

Machine& Machine::Link(const std::string& path, const std::string& target) {
    fs::create_symlink(Place(target), Place(path));
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

void Machine::Start(const std::string& program, const std::string& arguments) {
    const std::string file = Place(program).string();
    const std::string errors = (host_->folder.Folder() / "errors.txt").string();
    host_->process = fork();
    if (host_->process == 0) {
        const int nothing = open("/dev/null", O_RDWR | O_CLOEXEC);
        const int log = open(errors.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0666);
        if (dup2(nothing, STDIN_FILENO) >= 0 && dup2(nothing, STDOUT_FILENO) >= 0 &&
            dup2(log, STDERR_FILENO) >= 0) {
            execl(file.c_str(), file.c_str(), arguments.empty() ? nullptr : arguments.c_str(),
                  nullptr);
        }
        _exit(127);
    }
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
    Host::Event event = Host::Event::Ended;
    while (event == Host::Event::Ended) {
        event = host_->Next(stopped.Get());
    }
    ASSERT_EQ(event, Host::Event::Signalled) << "nothing stops";
    std::array<char, 1000> line{};
    ASSERT_GT(read(stopped.Get(), line.data(), line.size()), 0);
}

void Machine::GoOn() {
    // Open until the process has read it, and at once, whether it is there or not.
    host_->go = Descriptor(open((host_->folder.Folder() / "go").c_str(), O_RDWR | O_CLOEXEC));
    ASSERT_EQ(write(host_->go.Get(), "go\n", 3), 3);
}

Outcome Machine::Finish() {
    const fs::path& folder = host_->folder.Folder();
    while (host_->Next() != Host::Event::Idle) {
    }
    Outcome outcome;
    outcome.status = host_->status;
    outcome.shown = Shown();
    outcome.difference = Difference(before_, Look());
    outcome.errors = ReadIfThere(folder / "errors.txt") + ReadIfThere(folder / "log.txt");
    std::istringstream lines(outcome.errors);
    for (std::string line; std::getline(lines, line);) {
        EXPECT_TRUE(IsExpected(line)) << line;
    }
    EXPECT_FALSE(host_->overdue) << ReadIfThere(folder / "transcript.txt");
    return outcome;
}

std::string Machine::HostFolder() const {
    return host_->folder.Folder().string();
}

State Machine::Look() const {
    return host_->folder.Look();
}

std::string Machine::Clipboard() const {
    return ReadIfThere(host_->folder.Folder() / "clipboard.txt");
}

}  // namespace support
