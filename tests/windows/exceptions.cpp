// The program's own runtime for exceptions, tried in every way the program may use it:
// built with the same objects and options as the exe. Says what went wrong and returns 1;
// with an argument it must end with the status of a program that was terminated.
#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <new>
#include <string>
#include <vector>

namespace {

int alive = 0;
int failures = 0;

void Expect(bool right, const char* what) {
    if (!right || alive != 0) {
        std::printf("%s: %s, %d objects left\n", what, right ? "right" : "wrong", alive);
        ++failures;
        alive = 0;
    }
}

struct Counted {
    Counted() { ++alive; }
    Counted(const Counted& /*other*/) { ++alive; }
    Counted& operator=(const Counted&) = default;
    ~Counted() { --alive; }
};

struct Failure {
    int number;
    std::string text;
};

// Many frames, each with clean-ups of its own.
[[gnu::noinline]] std::size_t Deep(int depth, const std::string& path) {
    const Counted counted;
    const std::string longer = path + std::to_string(depth) + ",";
    const std::vector<Counted> several(3);
    if (depth == 0) {
        throw Failure{58, longer};
    }
    return Deep(depth - 1, longer) + several.size();
}

// The platform's calling convention: what is called removes the arguments.
int WINAPI Callback(int first, int second, int third) {
    const Counted counted;
    if (first + second + third > 6) {
        throw std::bad_alloc();
    }
    return first;
}
[[gnu::noinline]] int ThroughCallback(int(WINAPI* callback)(int, int, int), int first) {
    const Counted counted;
    return callback(first, first + 1, first + 2);
}

[[gnu::noinline]] void ThrowOn() {
    const Counted counted;
    try {
        Deep(3, "");
    } catch (const Failure& failure) {
        const Counted another;
        if (failure.number == 58) {
            throw;
        }
    }
}

// Throws and catches while another exception destroys it.
struct CatchesInDestructor {
    ~CatchesInDestructor() {
        try {
            throw std::string("in the destructor");
        } catch (const std::string&) {
            ++caught;
        }
    }
    static inline int caught = 0;
};

[[gnu::noinline]] std::string Nested() {
    try {
        throw 1;
    } catch (int outer) {
        try {
            throw std::string("inner");
        } catch (const std::string& inner) {
            return inner + std::to_string(outer);
        }
    }
}

template <typename Exception, typename Step>
bool Throws(Step step) {
    try {
        step();
    } catch (const Exception&) {
        return true;
    }
    return false;
}

void TryHandlers() {
    std::string text;
    try {
        Deep(20, "");
    } catch (const Failure& failure) {
        text = failure.text;
    }
    Expect(text == "20,19,18,17,16,15,14,13,12,11,10,9,8,7,6,5,4,3,2,1,0,", "through many frames");
    Expect(Throws<std::exception>([] { ThroughCallback(Callback, 5); }), "through a callback");
    Expect(ThroughCallback(Callback, 1) == 1, "no exception");
    Expect(Throws<Failure>(ThrowOn), "thrown on");
    Expect(Nested() == "inner1", "within a handler");
    Expect(Throws<int>([] {
               const CatchesInDestructor catches;
               throw 4;
           }) &&
               CatchesInDestructor::caught == 1,
           "caught in a destructor");
    Expect(Throws<std::exception>([&] { text.at(text.size() + 1) = ' '; }), "from the library");
}

void TryMany() {
    int caught = 0;
    for (int i = 0; i < 5000; ++i) {
        caught += Throws<Failure>([i] { Deep(i % 5, ""); }) ? 1 : 0;
    }
    Expect(caught == 5000 && std::uncaught_exceptions() == 0, "many times");
}

// The exception that says so must find a place when nothing else does.
void TryWithoutMemory() {
    std::vector<void*> taken;
    taken.reserve(1U << 20);
    for (std::size_t size = 1U << 20; size >= 16; size /= 2) {
        while (taken.size() < taken.capacity()) {
            void* memory = std::malloc(size);
            if (memory == nullptr) {
                break;
            }
            taken.push_back(memory);
        }
    }
    const bool thrown =
        Throws<std::bad_alloc>([] { std::string(100000, 'x').swap(*new std::string); });
    const bool again =
        Throws<std::bad_alloc>([] { std::string(100000, 'x').swap(*new std::string); });
    for (void* memory : taken) {
        std::free(memory);
    }
    Expect(thrown && again, "without memory");
}

void BreakPromise() noexcept {
    Deep(2, "");
}

}  // namespace

int main(int count, char** /*arguments*/) {
    if (count > 1) {
        BreakPromise();
        return 1;
    }
    TryHandlers();
    TryMany();
    TryWithoutMemory();
    std::printf("exceptions: %d failures\n", failures);
    return failures == 0 ? 0 : 1;
}
