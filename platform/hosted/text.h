// Texts of this layer beyond what machine.h declares.
#pragma once

#include <string>
#include <string_view>

namespace hosted {

// Code page 850 to Windows-1252, byte by byte; a character that Windows-1252 does not
// have becomes "?".
std::string FromDos(std::string_view dos);

}  // namespace hosted
