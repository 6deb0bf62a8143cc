// General routines: the application's name, its message boxes and the reports that end it.
// Texts are Windows-1252.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/win32.h"

inline constexpr char AppTitle[] = "UnInstaller";

// How long something is tried that somebody else may keep from being done for a moment, and
// how often. Milliseconds.
inline constexpr DWORD kWaitLimit = 500;
inline constexpr DWORD kWaitStep = 10;

// Shows a modal message box with the application's title, in front of what else is on the
// screen. style and result are those of MessageBoxA; 0 when the box could not be shown.
int ShowMessage(const std::string& text, UINT style);

// The path with a backslash at its end; an empty path stays empty.
std::string AddBackslash(std::string_view path);

// Ends the process at once: no further step, window event or clean-up of the program.
[[noreturn]] void EndProgram();

enum class Fatal { No, Yes };      // whether the program ends after a report
enum class ShortForm { No, Yes };  // whether number 7 gets the short box

// Reports an unexpected failure: a message with the description of the current error (if
// it is the one with that number), the error identifier made of procedure, place and
// number, and the offer to copy it to the clipboard. Number 7 with ShortForm::Yes gets a
// short box instead, which asks for less of the system. A fatal report ends the program and
// does not return; otherwise the current error is cleared. A box or a clipboard that fails
// changes nothing of that.
void ReportError(std::uint8_t procedure, std::uint8_t place, std::int32_t number, Fatal fatal,
                 ShortForm shortForm);

// The end for want of memory: the short box, which needs none, and the end of the program.
// A second call while it runs ends the program without a word.
[[noreturn]] void EndWithoutMemory();

// The end for a fault of the program itself, one that its own checks rule out.
[[noreturn]] void EndWithInternalError();

// Sets memory aside that the box of EndWithoutMemory needs of the system; without it the
// program ends here.
void SetMemoryAside();
