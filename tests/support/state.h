// What a machine holds, and the difference between two such states. All texts are UTF-8,
// so that a failing comparison reads well.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "platform/hosted/registry/text.h"

namespace support {

struct FileState {
    std::string attributes;  // letters D (folder), L (link), R, H, S
    std::uint64_t size = 0;
    std::uint64_t digest = 0;

    bool operator==(const FileState&) const = default;
};

using regtext::Keys;
using regtext::Values;

struct State {
    std::map<std::string, FileState> files;  // by path, no trailing backslash
    Keys keys;
};

// FNV-1a of 64 bits: enough to tell two contents of a test apart.
std::uint64_t Digest(std::string_view bytes);

// Lines like "- file C:\x", "+ folder C:\y", "~ file C:\z: R 12 bytes -> 12 bytes",
// "- key HKLM\x", "+ value HKLM\x\@: \"a\"", "~ value HKU\x\n: dword:00000005 -> \"b\"".
// What lies below a folder or key that is gone is gone with it and has no line of its own.
std::vector<std::string> Difference(const State& before, const State& after);

// One line per element of either list that the other lacks, or all lines if only their
// order or number differs; empty when the lists are equal.
std::string Mismatch(const std::vector<std::string>& expected,
                     const std::vector<std::string>& actual);

}  // namespace support
