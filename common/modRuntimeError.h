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
inline constexpr std::int32_t FileExists = 58;
inline constexpr std::int32_t PathFileAccess = 75;
inline constexpr std::int32_t PathNotFound = 76;
}  // namespace ErrorNumber

// What an operation that can fail unexpectedly returns.
struct [[nodiscard]] RuntimeError {
    std::int32_t number = 0;  // 0: it has not failed
    std::string description = {};

    [[nodiscard]] bool Failed() const { return number != 0; }
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

    [[nodiscard]] bool Failed() const { return error.Failed(); }
};

// The error for a Win32 error code. The description names the object and the system's own
// reason, in German.
RuntimeError SystemError(DWORD code, std::string_view object);

// The pending error of the program.
inline RuntimeError CurrentError;

// Keeps the error of a failed step for the next check point; the procedure goes on. A later
// error takes the place of an earlier one.
void Defer(RuntimeError outcome);

// The same for a step that makes something: its value, empty where it has failed.
template <typename T>
T Defer(Result<T> outcome) {
    Defer(std::move(outcome.error));
    return std::move(outcome.value);
}

// The procedures that report errors, by the numbers that an error identifier gives them.
enum class Procedure : std::uint8_t { Main = 1, UninstallSequence = 6, CopyFileWithRetry = 8 };

// The check point that the running procedure comes to next: the place that the report of a
// want of memory names, which waits for no check point.
struct CheckPlace {
    Procedure procedure = Procedure::Main;
    std::uint8_t place = 2;
};
inline CheckPlace NextCheckPoint;
