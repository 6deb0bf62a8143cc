// Win32 error codes that the registry functions give and the program never names.
#pragma once

#include "platform/hosted/win32.h"

namespace hosted {

inline constexpr LSTATUS kBadPath = 161;             // ERROR_BAD_PATHNAME
inline constexpr LSTATUS kKeyDeleted = 1018;         // ERROR_KEY_DELETED
inline constexpr LSTATUS kNoSystemResources = 1450;  // ERROR_NO_SYSTEM_RESOURCES

}  // namespace hosted
