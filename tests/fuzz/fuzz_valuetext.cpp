// Value data, their text form and the way back; numbers as people write them.
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <optional>

#include "registry/modRegistry.h"
#include "tests/fuzz/support.h"
#include "uninstall/frmUnInstProc.h"

namespace {

using fuzz::Require;

std::string WithoutLeadingZeros(const std::string& digits) {
    const std::size_t first = digits.find_first_not_of('0');
    return first == std::string::npos ? "0" : digits.substr(first);
}

void CheckText(DWORD type, const std::string& text) {
    std::string data("before");
    const LONG code = modRegistry::DataFromValueText(type, text, data);
    Require(code == ERROR_SUCCESS || code == ERROR_INVALID_PARAMETER, "one of two codes", text);
    Require(type != REG_SZ || code == ERROR_SUCCESS, "every text is a text", text);
    if (code != ERROR_SUCCESS) {
        return;
    }
    Require(type == REG_SZ || type == REG_DWORD || type == REG_BINARY, "others have none", text);
    const std::string back = modRegistry::ValueTextFromData(type, data);
    Require(back == (type == REG_SZ ? text : WithoutLeadingZeros(text)), "it comes back", text);
    Require(type != REG_DWORD || data.size() == 4, "a number has four bytes", text);
    Require(type != REG_BINARY || data.size() == 1 || data.back() != '\0', "no byte too many",
            text);
}

void CheckData(DWORD type, const std::string& data) {
    const std::string text = modRegistry::ValueTextFromData(type, data);
    if (type == REG_SZ || type == REG_EXPAND_SZ) {
        Require(data.empty() ? text.empty() : data.compare(0, data.size() - 1, text) == 0,
                "all but the last byte", data);
        return;
    }
    if (type != REG_DWORD && type != REG_BINARY) {
        Require(text.empty(), "other types have no text", data);
        return;
    }
    if (data.size() > 4) {
        Require(text == data, "longer data are their own text", data);
        return;
    }
    // The bytes that make this number, the missing ones as zeros.
    const auto number = static_cast<std::uint32_t>(std::strtol(text.c_str(), nullptr, 10));
    for (std::size_t i = 0; i < 4; ++i) {
        const char expected = i < data.size() ? data[i] : '\0';
        Require(static_cast<char>((number >> (8 * i)) & 0xFFU) == expected, "little-endian", data);
    }
}

// Short enough for a double to hold it without doubt about its half: that is the judge.
std::optional<double> Judged(std::string text) {
    text.erase(0, std::min(text.find_first_not_of(' '), text.size()));
    text.erase(text.find_last_not_of(' ') + 1);
    std::size_t points = 0;
    std::size_t digits = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '.' || text[i] == ',') {
            text[i] = '.';
            ++points;
        } else if (text[i] >= '0' && text[i] <= '9') {
            ++digits;
        } else if (i != 0 || (text[i] != '-' && text[i] != '+')) {
            return std::nullopt;
        }
    }
    if (points > 1 || digits == 0) {
        return std::nullopt;
    }
    return std::nearbyint(std::strtod(text.c_str(), nullptr));
}

void CheckNumber(const std::string& text) {
    const std::optional<std::int32_t> number = RoundedNumber(text);
    Require(RoundedNumber(" " + text + "  ") == number, "blanks around it do not matter", text);
    if (text.size() <= 15) {
        const std::optional<double> judged = Judged(text);
        const bool fits = judged && std::abs(*judged + 0.5) < 2147483648.0;
        Require(number.has_value() == fits, "a number or none", text);
        Require(!fits || *number == static_cast<std::int32_t>(*judged), "rounded", text);
    }
    if (!number) {
        return;
    }
    Require(RoundedNumber(std::to_string(*number)) == number, "a whole number stays", text);
    if (text.find_first_of(".,") != std::string::npos && text.back() != ' ') {
        Require(RoundedNumber(text + "0") == number, "a last zero adds nothing", text);
        const std::optional<std::int32_t> up = RoundedNumber(text + "9");
        Require(!up || std::abs(std::int64_t{*up} - *number) <= 1, "a last nine adds little", text);
    }
    const std::size_t first = text.find_first_not_of(' ');
    if (text[first] != '-' && text[first] != '+') {
        const std::string negative = text.substr(0, first) + "-" + text.substr(first);
        Require(RoundedNumber(negative) == -*number, "both signs round alike", text);
    }
}

}  // namespace

// The first byte chooses the type.
// NOLINTNEXTLINE(readability-identifier-naming): the fuzzer's name for it
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) {
        return 0;
    }
    constexpr std::array<DWORD, 6> kTypes{REG_SZ,    REG_EXPAND_SZ, REG_BINARY,
                                          REG_DWORD, REG_MULTI_SZ,  0};
    const DWORD type = kTypes.at(data[0] % kTypes.size());
    const std::string text(reinterpret_cast<const char*>(data) + 1, size - 1);
    CheckText(type, text);
    CheckData(type, text);
    CheckNumber(text);
    return 0;
}
