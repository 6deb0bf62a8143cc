// What the program may know of the operating system: genuine Win32, ANSI forms.
// On Windows that is the platform's own headers; elsewhere it is our declaration of
// exactly the functions that the program calls, defined by platform/hosted.
#pragma once

#ifdef _WIN32
#define WIN32_LEAN_AND_MEAN
#ifndef NOMINMAX  // the C++ library of mingw-w64 defines it already
#define NOMINMAX
#endif
#include <windows.h>
// windows.h first: the shell's headers build on its types.
#include <objbase.h>
#include <shellapi.h>
#include <shlobj.h>
#else
#include "platform/hosted/win32.h"
#endif
