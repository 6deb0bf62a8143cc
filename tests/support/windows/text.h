// The tests' UTF-8 on Windows, where the program's texts are Windows-1252.
#pragma once

#include <string>
#include <string_view>

namespace support {

std::string ToUtf8(std::string_view ansi);
std::string FromUtf8(std::string_view utf8);

}  // namespace support
