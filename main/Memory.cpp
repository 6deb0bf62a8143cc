// The program's own memory. What the C++ library would throw when there is none left has
// nobody to catch it here: the program says so and ends, at once and in one place.
#include <cstddef>
#include <new>

#include "common/modGeneral.h"

void* operator new(std::size_t size) {
    void* const memory = HeapAlloc(GetProcessHeap(), 0, size);
    if (memory == nullptr) {
        EndWithoutMemory();
    }
    return memory;
}

void operator delete(void* memory) noexcept {
    HeapFree(GetProcessHeap(), 0, memory);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept {
    operator delete(memory);
}
