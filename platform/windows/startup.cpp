// Settles on Windows where libraries are looked for, what the system shows on its own behalf
// and how controls look, because none of it can be made up for later.
#include "platform/startup.h"

#include <windows.h>

#include "platform/windows/functions.h"

namespace {

// The copy lies in a folder that others can write to: libraries that the system loads
// later, on its own behalf, must not be looked up beside the program or in the current
// folder. Systems before these functions get as much as they can do.
void LoadLibrariesFromSystemOnly() {
    constexpr DWORD kSearchSystem32 = 0x00000800;  // LOAD_LIBRARY_SEARCH_SYSTEM32
    if (const auto set = FindFunction<BOOL(WINAPI*)(LPCSTR)>("kernel32.dll", "SetDllDirectoryA")) {
        set("");  // Windows XP SP1: not from the current folder
    }
    if (const auto set =
            FindFunction<BOOL(WINAPI*)(DWORD)>("kernel32.dll", "SetDefaultDllDirectories")) {
        set(kSearchSystem32);  // Windows 7 with its update of 2011: only from the system's folder
    }
}

// The manifest asks for the themed controls, and Windows XP makes them only once their
// library has been told so. It is one of several of that name. That of the system's folder
// is the one without themes; the right one is where the manifest leads, and asked for by
// its plain name it is taken from there and looked up nowhere. A system on which the
// manifest leads nowhere has no themed controls.
void UseThemedControls() {
    constexpr char kLibrary[] = "comctl32.dll";
    const auto find =
        FindFunction<BOOL(WINAPI*)(DWORD, const GUID*, ULONG, LPCSTR, PACTCTX_SECTION_KEYED_DATA)>(
            "kernel32.dll", "FindActCtxSectionStringA");  // Windows XP
    ACTCTX_SECTION_KEYED_DATA place{};
    place.cbSize = sizeof(place);
    if (find == nullptr ||
        find(0, nullptr, ACTIVATION_CONTEXT_SECTION_DLL_REDIRECTION, kLibrary, &place) == FALSE) {
        return;
    }
    if (LoadLibraryA(kLibrary) != nullptr) {
        if (const auto initialise = FindFunction<void(WINAPI*)()>(kLibrary, "InitCommonControls")) {
            initialise();
        }
    }
}

}  // namespace

void PrepareProcess() {
    LoadLibrariesFromSystemOnly();
    // A drive without a medium is a failure like any other, no box of the system's.
    SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX);
    // A removal may take seconds without looking at its messages: a window that the system
    // greys out and offers to close would suggest that it hangs.
    if (const auto disable =
            FindFunction<void(WINAPI*)()>("user32.dll", "DisableProcessWindowsGhosting")) {
        disable();  // Windows XP
    }
    UseThemedControls();
}
