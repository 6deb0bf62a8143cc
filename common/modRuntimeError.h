// Run-time errors: how an operation says that something unexpected has kept it from its
// work, and the one record that keeps such an error until a check point looks at it.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

#include "platform/win32.h"

// The numbers that the program itself gives or treats specially. The others come from
// SystemError.
namespace ErrorNumber {
inline constexpr std::int32_t InvalidCall = 5;
inline constexpr std::int32_t OutOfMemory = 7;
inline constexpr std::int32_t Internal = 51;
inline constexpr std::int32_t FileExists = 58;
inline constexpr std::int32_t PathFileAccess = 75;
inline constexpr std::int32_t PathNotFound = 76;
}  // namespace ErrorNumber

// What an operation that can fail unexpectedly returns; number 0 says that it has not.
struct [[nodiscard]] RuntimeError {
    std::int32_t number = 0;
    std::string description = {};

    explicit operator bool() const { return number != 0; }
};

// The same for an operation that makes something: the value, or why there is none.
template <typename T>
struct [[nodiscard]] Result {
    T value{};
    RuntimeError error;

    // Implicit, so that an operation returns the one or the other as it is.
    // NOLINTBEGIN(google-explicit-constructor)
    Result(T made) : value(std::move(made)) {}
    Result(RuntimeError reason) : error(std::move(reason)) {}
    // NOLINTEND(google-explicit-constructor)
};

// The error for a Win32 error code. The description names the object and the system's own
// reason, in German.
RuntimeError SystemError(DWORD code, std::string_view object);

// The pending error of the program; number 0 means none.
[[nodiscard]] RuntimeError& CurrentError();

// Where a step of a procedure that defers its errors has failed, its error becomes the
// current one, and the procedure goes on. True if the step has done its work.
bool RunStep(RuntimeError outcome);

// The procedure that is running and the check point that it comes to next: what a report
// would name as the place.
struct CheckPlace {
    std::uint8_t procedure = 1;
    std::uint8_t place = 2;
};
[[nodiscard]] CheckPlace& RunningPlace();
