// General routines: the application's name, its message boxes, small text helpers and the
// report of unexpected failures. Texts are Windows-1252.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>

#include "platform/win32.h"

inline constexpr char AppTitle[] = "UnInstaller";

// Shows a modal message box with the application's title, owned by the program's open
// window if there is one. style and result are those of MessageBoxA; 0 when the box
// could not be shown.
int ShowMessage(const std::string& text, UINT style);

// The parts, one behind the other.
std::string Joined(std::initializer_list<std::string_view> parts);

// The path with a backslash at its end; an empty path stays empty.
std::string AddBackslash(std::string_view path);

// Upper case by the system's rules for Windows-1252 (CharUpperBuffA), umlauts included.
std::string UpperCase(std::string_view text);

// Whether two texts differ in letter case at most.
bool EqualIgnoringCase(std::string_view left, std::string_view right);

// Ends the process at once: no further step, window event or clean-up of the program.
[[noreturn]] void EndProgram() noexcept;

// Reports an unexpected failure: a message with the description of the current error (if
// it is the one with that number), the error identifier made of procedure, place and
// number, and the offer to copy it to the clipboard. Number 7 with shortForm gets a short
// box instead, because the long way needs memory. A fatal report ends the program and
// does not return; otherwise the current error is cleared. Failures of the report itself
// are ignored.
void ReportError(std::uint8_t procedure, std::uint8_t place, std::int32_t number, bool fatal,
                 bool shortForm) noexcept;
