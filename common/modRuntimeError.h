// Run-time errors: what is thrown when something unexpected happens, and the one record
// that keeps the latest of them until a check point looks at it.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "common/FunctionRef.h"
#include "platform/win32.h"

// The numbers that the program itself raises or treats specially. The others come from
// RaiseSystemError.
namespace ErrorNumber {
inline constexpr std::int32_t InvalidCall = 5;
inline constexpr std::int32_t OutOfMemory = 7;
inline constexpr std::int32_t Internal = 51;
inline constexpr std::int32_t FileExists = 58;
inline constexpr std::int32_t PathFileAccess = 75;
inline constexpr std::int32_t PathNotFound = 76;
}  // namespace ErrorNumber

// Thrown, and caught by the nearest procedure that handles errors.
struct RuntimeError {
    std::int32_t number = 0;
    std::string description;
};

// The pending error of the program; number 0 means none.
[[nodiscard]] RuntimeError& CurrentError() noexcept;

// Inside a catch handler: makes the exception being handled the current error. A failed
// allocation becomes number 7, an exception that nobody foresaw number 51.
void RecordCurrentException() noexcept;

// Runs one step of a procedure that defers its errors: a step that raises is abandoned,
// its error becomes the current one, and the caller goes on. True if nothing was raised.
bool RunStep(FunctionRef<void()> step) noexcept;

// Raises the run-time error for a Win32 error code. The description names the object and
// the system's own reason, in German.
[[noreturn]] void RaiseSystemError(DWORD code, std::string_view object);
