#include "tests/faults/workers.h"

#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <new>
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

// The number of the next case, in memory that all workers see.
class NextCase {
 public:
    NextCase()
        : memory_(mmap(nullptr, sizeof(Number), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS,
                       -1, 0)) {
        if (memory_ == MAP_FAILED) {
            throw std::runtime_error("no shared memory");
        }
        number_ = new (memory_) Number(0);
    }
    ~NextCase() { munmap(memory_, sizeof(Number)); }
    NextCase(const NextCase&) = delete;
    NextCase& operator=(const NextCase&) = delete;

    std::size_t Take() { return (*number_)++; }

 private:
    using Number = std::atomic<std::size_t>;
    void* memory_;
    Number* number_ = nullptr;
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
