// The files and the registry of the Windows that the tests run on. Texts are UTF-8, names of
// keys full; the staged user stands for whoever runs the tests.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "tests/support/state.h"

namespace support {

std::string ToUtf8(std::wstring_view wide);
std::string ToUtf8(std::string_view ansi);
std::string FromUtf8(std::string_view utf8);

std::filesystem::path RealPath(const std::string& path);
// R, H and S.
void SetRealAttributes(const std::filesystem::path& path, const std::string& letters);
// A file, or a folder with all in it; none is no failure.
void RemoveTree(const std::filesystem::path& path);
FileState LookAt(const std::filesystem::path& path);

// All that the tests compare: the machine's software and every user's. Left out are a few
// large branches of the system that neither the product nor any test has keys in.
Keys ReadRealRegistry();
void MakeKey(const std::string& key);
void DeleteKeyTree(const std::string& key);
// As regedit writes it; none removes it.
void SetRealValue(const std::string& key, const std::string& name, const std::string& value);

}  // namespace support
