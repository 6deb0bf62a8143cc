// What has to be settled before anything else of the program runs.
#include <windows.h>

namespace {

template <typename Function>
Function Find(HMODULE library, const char* name) {
    return reinterpret_cast<Function>(reinterpret_cast<void (*)()>(GetProcAddress(library, name)));
}

// The copy lies in a folder that others can write to: libraries that the system loads
// later, on its own behalf, must not be looked up beside the program or in the current
// folder. Systems before these functions get as much as they can do.
void LoadLibrariesFromSystemOnly() {
    constexpr DWORD kSearchSystem32 = 0x00000800;  // LOAD_LIBRARY_SEARCH_SYSTEM32
    HMODULE kernel = GetModuleHandleA("kernel32.dll");
    if (const auto set = Find<BOOL(WINAPI*)(LPCSTR)>(kernel, "SetDllDirectoryA")) {
        set("");  // Windows XP SP1: not from the current folder
    }
    if (const auto set = Find<BOOL(WINAPI*)(DWORD)>(kernel, "SetDefaultDllDirectories")) {
        set(kSearchSystem32);  // Windows 7 with its update of 2011: only from the system's folder
    }
}

// The manifest asks for the themed controls; they exist once their library has been told
// so. Not imported by the exe: the shell's library has loaded it before, and where the
// system has several the manifest decides which.
void UseThemedControls() {
    if (HMODULE controls = LoadLibraryA("comctl32.dll")) {
        if (const auto initialise = Find<void(WINAPI*)()>(controls, "InitCommonControls")) {
            initialise();
        }
    }
}

struct Startup {
    Startup() {
        LoadLibrariesFromSystemOnly();
        UseThemedControls();
    }
};

// The highest priority that is not the compiler's own: before every other initialiser.
[[gnu::init_priority(101)]] const Startup startup;

}  // namespace
