// The parts of the C++ library's exceptions that are larger than this program needs: its
// own versions know several threads, keep a pool of memory for each of them, and print the
// name of an exception's type before they end the program.
#include <windows.h>

#include <cxxabi.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <exception>

namespace __gnu_cxx {
// Called when an exception finds no handler or leaves a function that promised none.
void __verbose_terminate_handler() {
    // Not exit: nothing of a program in this state should run any more.
    TerminateProcess(GetCurrentProcess(), 3);
    __builtin_unreachable();
}
}  // namespace __gnu_cxx

namespace {

// In front of an exception the library keeps its own record of it, which is smaller.
constexpr std::size_t kRecordSize = 128;

// Where the exception goes that says that there is no memory left.
struct Reserve {
    alignas(16) std::array<char, 2 * kRecordSize> bytes;
    bool taken;
};
Reserve reserve{};

// One thread has exceptions; the library would look this up for each thread.
struct Globals {
    void* caught;
    unsigned int uncaught;
};
Globals globals{};

}  // namespace

namespace __cxxabiv1 {
extern "C" {

void* __cxa_allocate_exception(std::size_t size) noexcept {
    const std::size_t whole = kRecordSize + size;
    void* memory = std::malloc(whole);  // NOLINT(cppcoreguidelines-no-malloc): as the ABI frees it
    if (memory == nullptr && !reserve.taken && whole <= reserve.bytes.size()) {
        reserve.taken = true;
        memory = reserve.bytes.data();
    }
    if (memory == nullptr) {
        std::terminate();
    }
    std::memset(memory, 0, kRecordSize);
    return static_cast<char*>(memory) + kRecordSize;
}

void __cxa_free_exception(void* exception) noexcept {
    char* memory = static_cast<char*>(exception) - kRecordSize;
    if (memory == reserve.bytes.data()) {
        reserve.taken = false;
    } else {
        std::free(memory);  // NOLINT(cppcoreguidelines-no-malloc)
    }
}

__cxa_eh_globals* __cxa_get_globals() noexcept {
    return reinterpret_cast<__cxa_eh_globals*>(&globals);
}
__cxa_eh_globals* __cxa_get_globals_fast() noexcept {
    return __cxa_get_globals();
}

}  // extern "C"
}  // namespace __cxxabiv1

extern "C" {
// Repairs references to variables of other modules. There are none: the linker is told to
// refuse them.
void _pei386_runtime_relocator() {}
}
