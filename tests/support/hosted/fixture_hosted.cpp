// The fixture on Linux: the computer is a sandbox in the temporary directory, the program
// a child process. Processes that outlive their parent become children of the test
// process, so "no child left" means that the sandbox is idle.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <fstream>
#include <functional>
#include <iterator>
#include <sstream>

#include "platform/hosted/descriptor.h"
#include "platform/hosted/registry/registry.h"
#include "platform/hosted/sandbox.h"
#include "tests/support/flow.h"

namespace support {
namespace {

namespace fs = std::filesystem;
using hosted::Descriptor;

// No test waits for time to pass: this ends only what would never end.
constexpr int kTimeLimit = 300'000;  // milliseconds
constexpr std::string_view kTitle = "UnInstaller";

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

// The fields of a line of transcript.txt.
Lines Fields(const std::string& line) {
    constexpr std::string_view kLetters = "trn\\";
    constexpr std::string_view kMeanings = "\t\r\n\\";
    Lines fields(1);
    for (std::size_t i = 0; i < line.size(); ++i) {
        if (line[i] == '\t') {
            fields.emplace_back();
        } else {
            fields.back() += line[i] == '\\' ? kMeanings[kLetters.find(line[++i])] : line[i];
        }
    }
    return fields;
}

// The sandbox that the process has entered.
fs::path& Entered() {
    static fs::path folder;
    return folder;
}

pid_t StartProcess(const fs::path& file, const std::string& arguments, const fs::path& errors) {
    const pid_t process = fork();
    if (process == 0) {
        const int nothing = open("/dev/null", O_RDWR | O_CLOEXEC);
        const int log = open(errors.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0666);
        if (dup2(nothing, STDIN_FILENO) >= 0 && dup2(nothing, STDOUT_FILENO) >= 0 &&
            dup2(log, STDERR_FILENO) >= 0) {
            execl(file.c_str(), file.c_str(), arguments.empty() ? nullptr : arguments.c_str(),
                  nullptr);
        }
        _exit(127);
    }
    return process;
}

// What the command interpreter could not do and answers that do not fit are part of what a
// test may want; a process that says anything else has a fault.
bool IsExpected(const std::string& line) {
    return line.starts_with("del \"") || line.starts_with("start \"") ||
           line.starts_with("unknown command: ") ||
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

const bool Fixture::kHasFaults = true;
const bool Fixture::kMergesClasses = true;
const bool Fixture::kKeepsReadOnly = true;
const bool Fixture::kTellsIcons = true;

struct Fixture::Host {
    // What is there now, with what the test process has not saved yet.
    [[nodiscard]] State Look() const;
    // Changes the registry of a sandbox in which nothing runs.
    void Change(const std::function<void(Keys&)>& change) const;

    fs::path folder{FreshFolder()};
    std::function<void()> meanwhile;
};

State Fixture::Host::Look() const {
    if (Entered() == folder) {
        hosted::SaveRegistry();
    }
    return sandbox::Look(folder);
}

void Fixture::Host::Change(const std::function<void(Keys&)>& change) const {
    Keys keys = Look().keys;
    change(keys);
    WriteBytes(folder / "registry.reg", regtext::Format(keys));
    if (Entered() == folder) {
        hosted::Sandbox::Current().registry.reset();  // to be read again
    }
}

Fixture::Fixture() : host_(std::make_unique<Host>()) {
    prctl(PR_SET_CHILD_SUBREAPER, 1);
    // A question of this process must not wait for whoever has started the tests.
    const Descriptor nothing(open("/dev/null", O_RDONLY | O_CLOEXEC));
    dup2(nothing.Get(), STDIN_FILENO);
    sandbox::Stage(host_->folder, TESTS_STAGE, TESTS_PROGRAM);
}

Fixture::~Fixture() {
    // A test that has broken off may have left one that waits to go on.
    for (auto children = Children(); !children.empty(); children = Children()) {
        kill(children.front(), SIGKILL);
        waitpid(children.front(), nullptr, 0);
    }
    LetGo();
    if (Entered() == host_->folder) {
        hosted::Sandbox::Leave();
        Entered().clear();
    }
    std::error_code ignored;  // what cannot be removed stays in the temporary directory
    fs::remove_all(host_->folder, ignored);
}

fs::path Fixture::Place(const std::string& path) const {
    return sandbox::HostPath(host_->folder, path);
}

Fixture& Fixture::Remove(const std::string& path) {
    fs::remove_all(Place(path));
    return Attributes(path, "");
}

Fixture& Fixture::Attributes(const std::string& path, const std::string& attributes) {
    sandbox::Attributes all = sandbox::ReadAttributes(host_->folder);
    all[path] = attributes;
    sandbox::WriteAttributes(host_->folder, all);
    return *this;
}

Fixture& Fixture::Key(const std::string& key) {
    host_->Change([&](Keys& keys) { regtext::AddKey(keys, key); });
    return *this;
}

Fixture& Fixture::RemoveKey(const std::string& key) {
    host_->Change([&](Keys& keys) { regtext::RemoveTree(keys, key); });
    return *this;
}

Fixture& Fixture::Value(const std::string& key, const std::string& name, const std::string& value) {
    host_->Change([&](Keys& keys) { regtext::AddKey(keys, key)[name] = value; });
    return *this;
}

Fixture& Fixture::Set(const std::string& section, const std::string& left,
                      const std::string& line) {
    const std::string head = "\n[" + section + "]\n";
    std::string text = "\n" + ReadBytes(host_->folder / "machine.ini");
    std::size_t place = text.find(head);
    if (place == std::string::npos) {
        place = text.size();
        text += head;
    }
    const std::size_t end = std::min(text.find("\n[", place + 1), text.size());
    const std::size_t old = text.find("\n" + left + "=", place);
    if (old < end) {
        text.erase(old + 1, text.find('\n', old + 1) - old);
    }
    text.insert(place + head.size(), line.empty() ? "" : line + "\n");
    WriteBytes(host_->folder / "machine.ini", text.substr(1));
    return *this;
}

Fixture& Fixture::Link(const std::string& path, const std::string& target) {
    fs::create_symlink(Place(target), Place(path));
    return *this;
}

void Fixture::Enter() {
    hosted::Sandbox::Use(host_->folder);
    Entered() = host_->folder;
}

void Fixture::Answer(const std::vector<std::string>& answers) {
    std::string lines;
    for (const std::string& answer : answers) {
        lines += answer + "\n";
    }
    WriteBytes(host_->folder / "answers.txt", lines);
    fs::remove(host_->folder / "transcript.txt");
}

std::vector<std::string> Fixture::Shown() const {
    Lines shown;
    std::istringstream lines(ReadIfThere(host_->folder / "transcript.txt"));
    for (std::string line; std::getline(lines, line);) {
        const Lines fields = Fields(line);
        const std::string& event = fields.front();
        const auto window = std::find_if(shown.rbegin(), shown.rend(), [&](const auto& one) {
            return one.starts_with(fields[2]);
        });
        if (event == "box") {
            shown.push_back((fields[3] == kTitle ? "" : fields[3] + " ") + fields[2] + " -> " +
                            fields[5] + ": " + Readable(fields[4]));
        } else if (event == "show") {
            shown.push_back(fields[2] + ": " + (fields[3] == kTitle ? "" : fields[3]));
        } else if (event == "text") {
            *window += (window->ends_with(": ") ? "" : " | ") + Readable(fields[4]);
        } else if (event == "misfit") {
            shown.push_back("an answer that does not fit: " + fields[2]);
        } else if (event == "event" && fields[3] != "timer") {
            window->insert(fields[2].size(), " -> " + fields[3]);
        }
    }
    return shown;
}

Fixture& Fixture::Meanwhile(const std::string& call, std::function<void()> happens) {
    for (const char* pipe : {"stopped", "go"}) {
        mkfifo((host_->folder / pipe).c_str(), 0666);
    }
    host_->meanwhile = std::move(happens);
    return Setting("faults", call + "=stop");
}

bool Fixture::HasHappened() {
    return !std::exchange(host_->meanwhile, nullptr);
}

Outcome Fixture::Execute(const std::string& program, const std::string& arguments) {
    const fs::path& folder = host_->folder;
    // Both open before anybody waits for the other end of them.
    Descriptor stopped(open((folder / "stopped").c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    const Descriptor go(open((folder / "go").c_str(), O_RDWR | O_CLOEXEC));
    const pid_t process = StartProcess(Place(program), arguments, folder / "errors.txt");
    Outcome outcome;
    for (auto children = Children(); !children.empty(); children = Children()) {
        // The children of one that has ended are there before its end is seen.
        const Descriptor ending(static_cast<int>(syscall(SYS_pidfd_open, children.front(), 0)));
        std::array<pollfd, 2> waits{{{ending.Get(), POLLIN, 0}, {stopped.Get(), POLLIN, 0}}};
        if (poll(waits.data(), waits.size(), kTimeLimit) == 0) {
            ADD_FAILURE() << "has no end:\n" << ReadIfThere(folder / "transcript.txt");
            kill(children.front(), SIGKILL);
        } else if ((waits[1].revents & POLLIN) != 0) {
            stopped.Close();
            std::exchange(host_->meanwhile, nullptr)();
            EXPECT_EQ(write(go.Get(), "go\n", 3), 3);
            continue;
        }
        int status = 0;
        waitpid(children.front(), &status, 0);
        if (children.front() == process) {
            outcome.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
        }
    }
    outcome.errors = ReadIfThere(folder / "errors.txt") + ReadIfThere(folder / "log.txt");
    std::istringstream lines(outcome.errors);
    for (std::string line; std::getline(lines, line);) {
        EXPECT_TRUE(IsExpected(line)) << line;
    }
    return outcome;
}

std::string Fixture::HostFolder() const {
    return host_->folder.string();
}

State Fixture::Look() const {
    return host_->Look();
}

std::string Fixture::Clipboard() const {
    return ReadIfThere(host_->folder / "clipboard.txt");
}

}  // namespace support
