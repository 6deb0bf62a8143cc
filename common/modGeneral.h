// General routines: the application's name, its message boxes and the reports that end it.
// Texts are Windows-1252.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "common/modRuntimeError.h"
#include "platform/win32.h"

inline constexpr char AppTitle[] = "UnInstaller";

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
// changes nothing of that, and neither does a want of memory: the report needs none.
void ReportError(Procedure procedure, std::uint8_t place, std::int32_t number, Fatal fatal,
                 ShortForm shortForm);

// Reports a pending error, which ends the program. Without one the run goes on, and the next
// check point of the procedure is the one with the next number.
void CheckPoint(Procedure procedure, std::uint8_t place);

// The end for want of memory: the short form, at the place that the program comes to next.
[[noreturn]] void EndWithoutMemory();
