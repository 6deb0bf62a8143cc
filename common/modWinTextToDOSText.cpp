#include "common/modWinTextToDOSText.h"

#include <algorithm>
#include <array>

namespace {

constexpr unsigned char kWindowsFlorin = 131;
constexpr unsigned char kDosFlorin = 0x9F;
constexpr unsigned char kFirstInTable = 160;

// The code page 850 bytes of the Windows codes 160 to 255.
constexpr std::array<unsigned char, 96> kDosBytes{
    0x20, 0xAD, 0xBD, 0x9C, 0xCF, 0xBE, 0xDD, 0xF5, 0xF9, 0xB8, 0xA6, 0xAE, 0xAA, 0xF0, 0xA9, 0xEE,
    0xF8, 0xF1, 0xFD, 0xFC, 0xEF, 0xE6, 0xF4, 0xFA, 0xF7, 0xFB, 0xA7, 0xAF, 0xAC, 0xAB, 0xF3, 0xA8,
    0xB7, 0xB5, 0xB6, 0xC7, 0x8E, 0x8F, 0x92, 0x80, 0xD4, 0x90, 0xD2, 0xD3, 0xDE, 0xD6, 0xD7, 0xD8,
    0xD1, 0xA5, 0xE3, 0xE0, 0xE2, 0xE5, 0x99, 0x9E, 0x9D, 0xEB, 0xE9, 0xEA, 0x9A, 0xED, 0xE8, 0xE1,
    0x85, 0xA0, 0x83, 0xC6, 0x84, 0x86, 0x91, 0x87, 0x8A, 0x82, 0x88, 0x89, 0x8D, 0xA1, 0x8C, 0x8B,
    0xD0, 0xA4, 0x95, 0xA2, 0x93, 0xE4, 0x94, 0xF6, 0x9B, 0x97, 0xA3, 0x96, 0x81, 0xEC, 0xE7, 0x98};

unsigned char DosByte(unsigned char code) {
    if (code == kWindowsFlorin) {
        return kDosFlorin;
    }
    return code < kFirstInTable ? code : kDosBytes[code - kFirstInTable];
}

unsigned char WindowsCode(unsigned char byte) {
    if (byte < 0x80) {
        return byte;
    }
    if (byte == kDosFlorin) {
        return kWindowsFlorin;
    }
    const auto* const place = std::find(kDosBytes.begin(), kDosBytes.end(), byte);
    return place == kDosBytes.end()
               ? '?'
               : static_cast<unsigned char>(kFirstInTable + (place - kDosBytes.begin()));
}

}  // namespace

std::string WinTextToDOSText(std::string_view text) {
    std::string result(text);
    for (char& character : result) {
        character = static_cast<char>(DosByte(static_cast<unsigned char>(character)));
    }
    return result;
}

std::string DOSTextToWinText(std::string_view text) {
    std::string result(text);
    for (char& character : result) {
        character = static_cast<char>(WindowsCode(static_cast<unsigned char>(character)));
    }
    return result;
}
