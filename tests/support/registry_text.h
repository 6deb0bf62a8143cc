// The registry of a machine as the text that regedit exports. Values keep the form in
// which they are written: for staging and comparing nobody needs to know what they mean.
#pragma once

#include <string>
#include <string_view>

#include "tests/support/state.h"

namespace support {

using Keys = std::map<std::string, Values>;

// The keys of a REGEDIT4 text, those above a named one included. Values come in one
// spelling: joined lines, hexadecimal digits in lower case, no blanks between them.
Keys ParseRegistry(std::string_view text);

// The way back.
std::string FormatRegistry(const Keys& keys);

// A value by its type and bytes, texts in whatever code page, and back.
struct TypedValue {
    unsigned type = 0;
    std::string data;
};
TypedValue ParseValue(const std::string& value);
std::string FormatValue(const TypedValue& value);

}  // namespace support
