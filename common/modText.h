// Small helpers for texts (Windows-1252) and for numbers written as text.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>

inline constexpr std::string_view kLineBreak = "\r\n";
// Ends a line and leaves the next one empty.
inline constexpr std::string_view kParagraphBreak = "\r\n\r\n";

// The parts, one after the other.
std::string Joined(std::initializer_list<std::string_view> parts);

// The text in double quotes.
std::string Quoted(std::string_view text);

// Upper case by the system's rules for Windows-1252 (CharUpperBuffA), umlauts included.
std::string UpperCase(std::string_view text);

// Whether two texts differ in letter case at most.
bool EqualIgnoringCase(std::string_view left, std::string_view right);

// The number in decimal digits, with a minus sign where it is negative.
std::string Decimal(std::int32_t number);

// Whether the text is made of the digits 0 to 9 alone; also true for the empty text.
bool IsDigits(std::string_view text);

// The whole number that the digits write; nothing for any other text and above the limit.
std::optional<std::uint32_t> WholeNumber(std::string_view digits, std::uint32_t limit);
