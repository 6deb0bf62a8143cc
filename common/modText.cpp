// Texts are bytes in Windows-1252: what is small here would be in every room otherwise.
#include "common/modText.h"

#include "platform/win32.h"

// The rooms' German texts stand in the sources as they read. The compiler turns them into
// Windows-1252, one byte a letter; clang's tools, which only look, leave them in UTF-8.
#ifndef __clang__
static_assert(sizeof("ä") == 2, "compile the rooms with -fexec-charset=CP1252");
#endif

std::string Joined(std::initializer_list<std::string_view> parts) {
    std::string text;
    for (const std::string_view part : parts) {
        text += part;
    }
    return text;
}

std::string Quoted(std::string_view text) {
    return Joined({"\"", text, "\""});
}

std::string UpperCase(std::string_view text) {
    std::string result(text);
    CharUpperBuffA(result.data(), static_cast<DWORD>(result.size()));
    return result;
}

bool EqualIgnoringCase(std::string_view left, std::string_view right) {
    return left.size() == right.size() && UpperCase(left) == UpperCase(right);
}

std::string Decimal(std::int32_t number) {
    return std::to_string(number);
}

bool IsDigits(std::string_view text) {
    return text.find_first_not_of("0123456789") == std::string_view::npos;
}

std::optional<std::uint32_t> WholeNumber(std::string_view digits, std::uint32_t limit) {
    if (digits.empty() || !IsDigits(digits)) {
        return std::nullopt;
    }
    std::uint64_t number = 0;
    for (const char digit : digits) {
        number = number * 10 + static_cast<std::uint64_t>(digit - '0');
        if (number > limit) {
            return std::nullopt;
        }
    }
    return static_cast<std::uint32_t>(number);
}
