#include "common/modText.h"

#include <algorithm>
#include <limits>

#include "platform/win32.h"

namespace {

// Whether whole.fraction is nearer to whole + 1, or in the middle and whole is odd.
bool RoundsUp(std::uint32_t whole, std::string_view fraction) {
    if (fraction.empty() || fraction.front() < '5') {
        return false;
    }
    const bool half =
        fraction.front() == '5' && fraction.find_first_not_of('0', 1) == std::string_view::npos;
    return !half || whole % 2 != 0;
}

}  // namespace

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

std::string_view Trimmed(std::string_view text) {
    const std::size_t first = std::min(text.find_first_not_of(' '), text.size());
    return text.substr(first, text.find_last_not_of(' ') + 1 - first);
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

std::optional<std::int32_t> RoundedNumber(std::string_view text) {
    constexpr std::uint32_t kLargest = std::numeric_limits<std::int32_t>::max();
    text = Trimmed(text);
    const bool negative = text.starts_with('-');
    if (negative || text.starts_with('+')) {
        text.remove_prefix(1);
    }
    const std::size_t point = std::min(text.find_first_of(".,"), text.size());
    const std::string_view fraction = text.substr(std::min(point + 1, text.size()));
    // ".5" has no digits before its point, which says 0.
    const std::string_view digits = point == 0 && !fraction.empty() ? "0" : text.substr(0, point);
    const std::uint32_t limit = kLargest + (negative ? 1 : 0);
    const std::optional<std::uint32_t> whole = WholeNumber(digits, limit);
    if (!whole || !IsDigits(fraction)) {
        return std::nullopt;
    }
    const std::int64_t rounded = std::int64_t{*whole} + (RoundsUp(*whole, fraction) ? 1 : 0);
    if (rounded > limit) {
        return std::nullopt;
    }
    return static_cast<std::int32_t>(negative ? -rounded : rounded);
}
