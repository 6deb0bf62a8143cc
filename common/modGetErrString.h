// The system's own texts for its error codes.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/win32.h"

// The system's text for a code (FormatMessageA), without its final line break (one is removed,
// not more). Empty when the system has none, when it does not fit into limit characters, or
// when it has insert sequences such as %1: without arguments the call then fails.
std::string SystemText(DWORD code, DWORD limit);

enum class ShowCode { No, Yes };

// What a message appends for a system error code: an empty line and the system's text,
// then, with ShowCode::Yes, the code in parentheses after its label. Code 0 gives an empty
// text; a code that the system does not know gives the parentheses alone. Raises nothing
// of its own.
std::string GetErrString(std::int32_t code, ShowCode showCode, std::string_view label);
