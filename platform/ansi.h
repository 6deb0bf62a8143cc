// German texts are written in the sources as they read and become Windows-1252 while the
// program is compiled: "… gelöscht …"_ansi is a std::string_view of Windows-1252 bytes.
// A character that Windows-1252 does not have fails the build.
#pragma once

#include <array>
#include <cstddef>
#include <string_view>

namespace ansi {

// The characters of the codes 128 to 159; 0 where the code page has none.
inline constexpr std::array<char32_t, 32> kHighControls{
    0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0,      0x017D, 0,      0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0,      0x017E, 0x0178};

// Never defined: that a literal needs it says, while the program is compiled, that one of its
// characters has no place in Windows-1252.
unsigned char CharacterHasNoPlaceInWindows1252();

// The Windows-1252 code of a character; not a constant expression for one it does not have.
constexpr unsigned char CodeOf(char32_t character) {
    if (character < 0x80 || (character >= 0xA0 && character <= 0xFF)) {
        return static_cast<unsigned char>(character);
    }
    for (std::size_t i = 0; i < kHighControls.size(); ++i) {
        if (kHighControls[i] == character && character != 0) {
            return static_cast<unsigned char>(0x80 + i);
        }
    }
    return CharacterHasNoPlaceInWindows1252();
}

template <std::size_t N>
struct Literal {
    std::array<char, N> bytes{};
    std::size_t length = 0;

    // NOLINTNEXTLINE(google-explicit-constructor): the literal operator needs it implicit
    constexpr Literal(const char (&utf8)[N]) {
        for (std::size_t i = 0; i + 1 < N;) {
            const auto lead = static_cast<unsigned char>(utf8[i]);
            const std::size_t size = lead < 0x80 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
            char32_t character = size == 1 ? lead : lead & (0xFFU >> (size + 1));
            for (std::size_t k = 1; k < size; ++k) {
                character = (character << 6) | (static_cast<unsigned char>(utf8[i + k]) & 0x3FU);
            }
            bytes[length++] = static_cast<char>(CodeOf(character));
            i += size;
        }
    }
};

// The text of a literal, stored once.
template <Literal Text>
inline constexpr auto kStored = Text;

}  // namespace ansi

// NUL-terminated behind its last character, so .data() may be handed to the platform.
template <ansi::Literal Text>
constexpr std::string_view operator""_ansi() {
    return std::string_view(ansi::kStored<Text>.bytes.data(), ansi::kStored<Text>.length);
}
