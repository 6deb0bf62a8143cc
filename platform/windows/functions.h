// Functions of systems newer than the oldest one that the program runs on. They are looked up
// while it runs: imported by name, they would keep it from starting there.
#pragma once

#include <windows.h>

// The function of a library that is loaded; null where the system does not have it.
template <typename Function>
[[nodiscard]] Function FindFunction(const char* library, const char* name) {
    FARPROC found = GetProcAddress(GetModuleHandleA(library), name);
    return reinterpret_cast<Function>(reinterpret_cast<void (*)()>(found));
}
