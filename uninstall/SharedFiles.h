// The product's claims on three shared system files: the system counts who needs each, and the
// product's own claim is taken back.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "uninstall/Removal.h"

// Lowers each count by one and deletes one that would fall to zero. What fails is logged.
void ReleaseSharedFiles(Removal& removal);

// A decimal number rounded to the nearest whole one, halves to the even neighbour; blanks
// around it, a sign and a decimal point or comma are allowed. Nothing for any other text
// and outside the signed 32-bit range.
std::optional<std::int32_t> RoundedNumber(std::string_view text);
