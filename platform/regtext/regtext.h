// The text form of a registry, as regedit exports it (REGEDIT4), in UTF-8.
//
//     REGEDIT4
//
//     ; a comment
//     [HKEY_LOCAL_MACHINE\Software\Example]
//     @="the default value"
//     "Path"="C:\\Program Files"
//     "Count"=dword:00000005
//     "Bytes"=hex:01,02,03        hex(n) for a value of type n; "\" at the line's end goes on
//
// Nothing here asks for a platform: the tests on Windows stage and compare with it as well.
// What it cannot read is a damage with its line, never a guess.
#pragma once

#include <cstdint>
#include <map>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace regtext {

// The order of names: without regard to letter case (of the letters of Windows-1252, without
// y with diaeresis), and with all that is below a key right after it.
struct ByName {
    using is_transparent = void;
    bool operator()(std::string_view left, std::string_view right) const;
};

// Values by name, "" for the default one, each as it is written: "text" in quotes,
// dword:0000000a, hex(2):25,00; always in one spelling.
using Values = std::map<std::string, std::string, ByName>;
// Keys by full name, root first, with every key above a key. Only HKEY_LOCAL_MACHINE and
// HKEY_USERS hold keys; the other two roots show what is in these.
using Keys = std::map<std::string, Values, ByName>;

// What sorts after it sorts after all that is below the key, too.
inline std::string EndOf(std::string key) {
    return std::move(key += '\0');
}

// Gives the values of the key, which is made with all that is missing above it.
Values& AddKey(Keys& keys, const std::string& key);
// Removes the key with all below it.
void RemoveTree(Keys& keys, const std::string& key);

// The places where a key lies that may be named under any of the four roots: one, or, for
// HKEY_CLASSES_ROOT, the user's and the machine's, which is where a new key goes. user names
// the hive that is HKEY_CURRENT_USER; without one it is that of nobody, .DEFAULT. Empty for
// an unknown root. Backslashes at the end mean nothing.
std::vector<std::string> PlacesOf(std::string_view key, std::string_view user);

// What a text should not have; what() is one clause in English.
struct Damage : std::runtime_error {
    Damage(unsigned number, const std::string& what) : std::runtime_error(what), line(number) {}
    unsigned line;  // from 1; 0 for a value alone
};

// The number of the first line that is not UTF-8, 0 if all are; what is to be said of it.
unsigned LineThatIsNoUtf8(std::string_view text);
inline constexpr const char* kNoUtf8 = "the text is not UTF-8";

// The keys of a text, LF and CRLF alike, and both roots that hold them. Throws Damage.
Keys Parse(std::string_view text, std::string_view user = {});
// The way back. Equal keys give equal texts.
std::string Format(const Keys& keys);

// A value by its type (REG_SZ is 1 and so on) and bytes.
struct TypedValue {
    std::uint32_t type = 0;
    std::string data;
};
// Between the code page of the bytes of a text and UTF-8.
using Convert = std::string (*)(std::string_view);
inline std::string Same(std::string_view text) {
    return std::string(text);
}
// Throws Damage for what is no value.
TypedValue ParseValue(std::string_view value, Convert fromUtf8 = Same);
std::string FormatValue(const TypedValue& value, Convert toUtf8 = Same);

}  // namespace regtext
