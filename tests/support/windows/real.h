// The files and the registry of the Windows that the tests run on. Texts are UTF-8, names of
// keys full; the staged user stands for whoever runs the tests.
#pragma once

#include "tests/support/machine.h"

namespace support {

// No test waits for time to pass: this ends only what would never end.
template <typename Condition>
bool WaitUntil(Condition isTrue) {
    const DWORD start = GetTickCount();
    while (!isTrue() && GetTickCount() - start < 300'000) {
        Sleep(5);
    }
    return isTrue();
}

std::string ToUtf8(std::wstring_view wide);

std::filesystem::path RealPath(std::string_view path);
// R, H and S.
void SetRealAttributes(const std::filesystem::path& path, const std::string& letters);
// The path and all below it; none is no failure.
std::vector<std::filesystem::path> TreeAt(const std::filesystem::path& path);
void RemoveTree(const std::filesystem::path& path);
FileState LookAt(const std::filesystem::path& path);

// All that the tests compare: the machine's software and every user's. Left out are a few
// large branches of the system that neither the product nor any test has keys in.
Keys ReadRealRegistry();
handles::Key MakeKey(const std::string& key);
void DeleteKeyTree(const std::string& key);
// As regedit writes it; none removes it.
void SetRealValue(const std::string& key, const std::string& name, const std::string& value);

}  // namespace support
