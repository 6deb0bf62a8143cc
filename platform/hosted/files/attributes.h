// The attributes that the disk does not carry: read-only, hidden and system, kept in
// attributes.txt.
#pragma once

#include <string>

#include "platform/hosted/files/paths.h"

namespace hosted {

constexpr DWORD kKeptAttributes =
    FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM;

// All attributes of an item that exists, as GetFileAttributesA gives them.
DWORD AttributesOf(const std::string& host, const struct stat& status);
inline DWORD AttributesOf(const Place& place) {
    return AttributesOf(place.host, place.status);
}

// Only the kept ones.
DWORD KeptAttributes(const std::string& host);
void KeepAttributes(const std::string& host, DWORD attributes);

}  // namespace hosted
