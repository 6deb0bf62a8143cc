// Texts: Windows-1252 with UTF-8 and with code page 850, and upper case as the system
// compares names.
#include "platform/hosted/text.h"

#include <algorithm>
#include <array>

#include "platform/ansi.h"
#include "platform/hosted/machine.h"

namespace hosted {
namespace {

constexpr char32_t kUnknown = U'?';

// Code page 850 from 128 on, each as its Windows-1252 code; 0 for the line graphics and
// the few letters that Windows-1252 does not have.
constexpr std::array<unsigned char, 128> kFromDos{
    0xC7, 0xFC, 0xE9, 0xE2, 0xE4, 0xE0, 0xE5, 0xE7, 0xEA, 0xEB, 0xE8, 0xEF, 0xEE, 0xEC, 0xC4, 0xC5,
    0xC9, 0xE6, 0xC6, 0xF4, 0xF6, 0xF2, 0xFB, 0xF9, 0xFF, 0xD6, 0xDC, 0xF8, 0xA3, 0xD8, 0xD7, 0x83,
    0xE1, 0xED, 0xF3, 0xFA, 0xF1, 0xD1, 0xAA, 0xBA, 0xBF, 0xAE, 0xAC, 0xBD, 0xBC, 0xA1, 0xAB, 0xBB,
    0,    0,    0,    0,    0,    0xC1, 0xC2, 0xC0, 0xA9, 0,    0,    0,    0,    0xA2, 0xA5, 0,
    0,    0,    0,    0,    0,    0,    0xE3, 0xC3, 0,    0,    0,    0,    0,    0,    0,    0xA4,
    0xF0, 0xD0, 0xCA, 0xCB, 0xC8, 0,    0xCD, 0xCE, 0xCF, 0,    0,    0,    0,    0xA6, 0xCC, 0,
    0xD3, 0xDF, 0xD4, 0xD2, 0xF5, 0xD5, 0xB5, 0xFE, 0xDE, 0xDA, 0xDB, 0xD9, 0xFD, 0xDD, 0xAF, 0xB4,
    0xAD, 0xB1, 0,    0xBE, 0xB6, 0xA7, 0xF7, 0xB8, 0xB0, 0xA8, 0xB7, 0xB9, 0xB3, 0xB2, 0,    0xA0};

constexpr unsigned char UpperOf(unsigned char code) {
    if (code >= 'a' && code <= 'z') {
        return static_cast<unsigned char>(code - 0x20);
    }
    if (code >= 0xE0 && code != 0xF7 && code != 0xFF) {
        return static_cast<unsigned char>(code - 0x20);
    }
    switch (code) {
        case 0xFF:
            return 0x9F;  // y with diaeresis stands apart in this code page
        case 0x9A:
        case 0x9C:
        case 0x9E:
            return static_cast<unsigned char>(code - 0x10);
        default:
            return code;
    }
}

constexpr auto kUpper = [] {
    std::array<unsigned char, 256> table{};
    for (std::size_t i = 0; i < table.size(); ++i) {
        table[i] = UpperOf(static_cast<unsigned char>(i));
    }
    return table;
}();

char32_t CharacterOf(unsigned char code) {
    if (code < 0x80 || code >= 0xA0) {
        return code;
    }
    const char32_t character = ansi::kHighControls[code - 0x80U];
    return character != 0 ? character : code;
}

char AnsiOf(char32_t character) {
    if (character < 0x80 || (character >= 0xA0 && character <= 0xFF)) {
        return static_cast<char>(character);
    }
    for (std::size_t i = 0; i < ansi::kHighControls.size(); ++i) {
        const char32_t known = ansi::kHighControls[i];
        if (known == character ? known != 0 : known == 0 && character == 0x80 + i) {
            return static_cast<char>(0x80 + i);
        }
    }
    return static_cast<char>(kUnknown);
}

void AppendUtf8(std::string& text, char32_t character) {
    if (character < 0x80) {
        text += static_cast<char>(character);
    } else if (character < 0x800) {
        text += static_cast<char>(0xC0 | (character >> 6));
        text += static_cast<char>(0x80 | (character & 0x3F));
    } else {  // Windows-1252 has nothing beyond 0xFFFF
        text += static_cast<char>(0xE0 | (character >> 12));
        text += static_cast<char>(0x80 | ((character >> 6) & 0x3F));
        text += static_cast<char>(0x80 | (character & 0x3F));
    }
}

// The character at position, which moves behind it; a byte that begins none counts as one
// unknown character.
char32_t TakeUtf8(std::string_view text, std::size_t& position) {
    const auto lead = static_cast<unsigned char>(text[position++]);
    if (lead < 0x80) {
        return lead;
    }
    const std::size_t more = lead >= 0xF0 ? 3 : lead >= 0xE0 ? 2 : lead >= 0xC2 ? 1 : 0;
    if (more == 0 || lead > 0xF4 || position + more > text.size()) {
        return kUnknown;
    }
    char32_t character = lead & (0x3FU >> more);
    for (std::size_t i = 0; i < more; ++i) {
        const auto next = static_cast<unsigned char>(text[position + i]);
        if ((next & 0xC0) != 0x80) {
            return kUnknown;
        }
        character = (character << 6) | (next & 0x3FU);
    }
    position += more;
    const bool overlong = (more == 2 && character < 0x800) || (more == 3 && character < 0x10000);
    return overlong ? kUnknown : character;
}

}  // namespace

std::string ToUtf8(std::string_view ansi) {
    const LayerScope layer;  // also for the argument of a call that has yet to begin
    std::string utf8;
    utf8.reserve(ansi.size() + 8);
    for (const char code : ansi) {
        AppendUtf8(utf8, CharacterOf(static_cast<unsigned char>(code)));
    }
    return utf8;
}

std::string FromUtf8(std::string_view utf8) {
    std::string ansi;
    ansi.reserve(utf8.size());
    for (std::size_t position = 0; position < utf8.size();) {
        ansi += AnsiOf(TakeUtf8(utf8, position));
    }
    return ansi;
}

std::string UpperCase(std::string_view ansi) {
    std::string upper(ansi);
    for (char& code : upper) {
        code = static_cast<char>(kUpper[static_cast<unsigned char>(code)]);
    }
    return upper;
}

bool EqualIgnoringCase(std::string_view left, std::string_view right) {
    return std::equal(left.begin(), left.end(), right.begin(), right.end(), [](char a, char b) {
        return kUpper[static_cast<unsigned char>(a)] == kUpper[static_cast<unsigned char>(b)];
    });
}

std::string FromDos(std::string_view dos) {
    std::string ansi(dos);
    for (char& code : ansi) {
        const auto byte = static_cast<unsigned char>(code);
        if (byte >= 0x80) {
            const unsigned char known = kFromDos[byte - 0x80U];
            code = known != 0 ? static_cast<char>(known) : '?';
        }
    }
    return ansi;
}

}  // namespace hosted

// Upper-cases length bytes in place by the rules of Windows-1252; result: length.
DWORD WINAPI CharUpperBuffA(LPSTR text, DWORD length) {
    for (DWORD i = 0; i < length; ++i) {
        text[i] = static_cast<char>(hosted::kUpper[static_cast<unsigned char>(text[i])]);
    }
    return length;
}
