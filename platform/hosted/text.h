// Texts: the program's are Windows-1252, what lies in the sandbox's folder is UTF-8.
#pragma once

#include <string>
#include <string_view>

namespace hosted {

// Windows-1252 to UTF-8 and back. Codes without a character (129, 141, 143, 144, 157)
// travel as the control characters of the same number, so every text survives the way
// there and back. A character that Windows-1252 lacks becomes "?".
std::string ToUtf8(std::string_view ansi);
std::string FromUtf8(std::string_view utf8);
// Upper case by the rules of Windows-1252 (umlauts included), byte by byte.
std::string UpperCase(std::string_view ansi);
bool EqualIgnoringCase(std::string_view left, std::string_view right);
// Code page 850 to Windows-1252, byte by byte; what Windows-1252 lacks becomes "?".
std::string FromDos(std::string_view dos);

}  // namespace hosted
