#include "tests/faults/workers.h"

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <thread>

namespace support {
namespace {

constexpr std::size_t kLongestText = 4000;

// One case's result on its way through the pipe. It is written at once: pieces of up to
// 4096 bytes never mix.
struct Result {
    std::size_t index;
    std::size_t size;
    std::array<char, kLongestText> text;
};
static_assert(sizeof(Result) <= 4096);

// The number of the next case: the workers take it from a pipe that holds one at a time.
class NextCase {
 public:
    NextCase() {
        if (pipe(ends_.data()) != 0) {
            throw std::runtime_error("no pipe");
        }
        Put(0);
    }
    ~NextCase() {
        close(ends_[0]);
        close(ends_[1]);
    }
    NextCase(const NextCase&) = delete;
    NextCase& operator=(const NextCase&) = delete;

    std::size_t Take() {
        std::size_t number = 0;
        if (read(ends_[0], &number, sizeof number) != sizeof number) {
            throw std::runtime_error("no next case");
        }
        Put(number + 1);
        return number;
    }

 private:
    void Put(std::size_t number) {
        if (write(ends_[1], &number, sizeof number) != sizeof number) {
            throw std::runtime_error("no next case");
        }
    }

    std::array<int, 2> ends_{};
};

std::string TextOf(const std::function<std::string(std::size_t)>& run, std::size_t index) {
    try {
        return run(index);
    } catch (const std::exception& error) {
        return std::string("could not be run: ") + error.what();
    }
}

[[noreturn]] void Work(std::size_t count, const std::function<std::string(std::size_t)>& run,
                       NextCase& next, int pipe) {
    for (std::size_t index = next.Take(); index < count; index = next.Take()) {
        const std::string text = TextOf(run, index);
        Result result{index, std::min(text.size(), kLongestText), {}};
        std::memcpy(result.text.data(), text.data(), result.size);
        if (write(pipe, &result, sizeof result) != sizeof result) {
            break;
        }
    }
    _exit(0);
}

bool ReadResult(int pipe, Result& result) {
    std::size_t done = 0;
    while (done < sizeof result) {
        const ssize_t size =
            read(pipe, reinterpret_cast<char*>(&result) + done, sizeof result - done);
        if (size == 0 || (size < 0 && errno != EINTR)) {
            return false;
        }
        done += size > 0 ? static_cast<std::size_t>(size) : 0;
    }
    return true;
}

}  // namespace

std::vector<std::string> RunInParallel(std::size_t count,
                                       const std::function<std::string(std::size_t)>& run) {
    std::vector<std::string> texts(count, "the process that ran it has ended");
    std::array<int, 2> ends{};
    if (pipe(ends.data()) != 0) {
        throw std::runtime_error("no pipe");
    }
    NextCase next;
    std::vector<pid_t> workers(std::max(1U, std::thread::hardware_concurrency()));
    for (pid_t& worker : workers) {
        worker = fork();
        if (worker < 0) {
            throw std::runtime_error("no process");
        }
        if (worker == 0) {
            close(ends[0]);
            Work(count, run, next, ends[1]);
        }
    }
    close(ends[1]);
    for (Result result{}; ReadResult(ends[0], result);) {
        texts.at(result.index).assign(result.text.data(), result.size);
    }
    close(ends[0]);
    for (const pid_t worker : workers) {
        waitpid(worker, nullptr, 0);
    }
    return texts;
}

}  // namespace support
