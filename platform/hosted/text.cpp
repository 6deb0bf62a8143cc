// Texts: Windows-1252 with UTF-8 and with code page 850, and upper case as the system
// compares names.
#include "platform/hosted/text.h"

#include <iconv.h>

#include <array>
#include <unordered_map>

#include "platform/hosted/call.h"

namespace hosted {
namespace {

using Codes = std::array<std::string, 256>;

// Each byte of one code page in another, as the C library has it; empty where it has none.
Codes Recoded(const char* from, const char* to) {
    Codes codes;
    const iconv_t way = iconv_open(to, from);
    for (std::size_t i = 0; i < codes.size(); ++i) {
        char code = static_cast<char>(i);
        std::array<char, 8> room{};
        char* in = &code;
        char* out = room.data();
        std::size_t inLeft = 1;
        std::size_t outLeft = room.size();
        if (iconv(way, &in, &inLeft, &out, &outLeft) != static_cast<std::size_t>(-1)) {
            codes.at(i).assign(room.data(), out);
        }
    }
    iconv_close(way);
    return codes;
}

const Codes& Utf8() {
    static const Codes codes = [] {
        Codes known = Recoded("CP1252", "UTF-8");
        for (const unsigned code : {129U, 141U, 143U, 144U, 157U}) {
            known.at(code) = {'\xC2', static_cast<char>(code)};
        }
        return known;
    }();
    return codes;
}

unsigned char UpperOf(unsigned char code) {
    const bool isLetter = (code >= 'a' && code <= 'z') || (code >= 0xE0 && code != 0xF7);
    if (code == 0xFF) {
        return 0x9F;  // y with diaeresis stands apart in this code page
    }
    if (code == 0x9A || code == 0x9C || code == 0x9E) {
        return static_cast<unsigned char>(code - 0x10);
    }
    return static_cast<unsigned char>(isLetter ? code - 0x20 : code);
}

}  // namespace

std::string ToUtf8(std::string_view ansi) {
    const LayerScope layer;  // also for the argument of a call that has yet to begin
    std::string utf8;
    for (const char code : ansi) {
        utf8 += Utf8().at(static_cast<unsigned char>(code));
    }
    return utf8;
}

std::string FromUtf8(std::string_view utf8) {
    static const std::unordered_map<std::string_view, char> ansi = [] {
        std::unordered_map<std::string_view, char> known;
        for (std::size_t i = 0; i < Utf8().size(); ++i) {
            known[Utf8().at(i)] = static_cast<char>(i);
        }
        return known;
    }();
    std::string text;
    for (std::size_t i = 0; i < utf8.size();) {
        const auto lead = static_cast<unsigned char>(utf8[i]);
        const std::size_t length = lead < 0xC2 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
        const auto known = ansi.find(utf8.substr(i, length));
        text += known == ansi.end() ? '?' : known->second;
        i += length;
    }
    return text;
}

std::string UpperCase(std::string_view ansi) {
    std::string upper(ansi);
    CharUpperBuffA(upper.data(), static_cast<DWORD>(upper.size()));
    return upper;
}

bool EqualIgnoringCase(std::string_view left, std::string_view right) {
    return left.size() == right.size() && UpperCase(left) == UpperCase(right);
}

std::string FromDos(std::string_view dos) {
    static const Codes codes = Recoded("CP850", "CP1252");
    std::string ansi;
    for (const char code : dos) {
        const std::string& known = codes.at(static_cast<unsigned char>(code));
        ansi += known.empty() ? "?" : known;
    }
    return ansi;
}

}  // namespace hosted

// Upper-cases length bytes in place by the rules of Windows-1252; result: length.
DWORD WINAPI CharUpperBuffA(LPSTR text, DWORD length) {
    for (DWORD i = 0; i < length; ++i) {
        text[i] = static_cast<char>(hosted::UpperOf(static_cast<unsigned char>(text[i])));
    }
    return length;
}
