// A real Windows as the staged machine: its files and its registry. What was there of the same
// names is overwritten, so it should be nobody's. Texts are UTF-8, names of keys full; the staged
// user stands for whoever runs this.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "tools/sandbox/look.h"

namespace real {

namespace fs = std::filesystem;

// Windows-1252 to UTF-8 and back.
std::string ToUtf8(std::string_view ansi);
std::string FromUtf8(std::string_view utf8);
// A path of the machine as one of the disk, and the way back; Name takes any wide text.
fs::path Path(std::string_view path);
std::string Name(const fs::path& path);

// The files and keys that stage describes, but for what each system has itself; program is the
// uninstaller that was built. Throws std::runtime_error or std::filesystem::filesystem_error.
void Stage(const fs::path& stage, const fs::path& program);

// R, H and S.
void SetAttributes(const fs::path& path, const std::string& letters);
// The path with all below it; none is no failure.
void RemoveTree(const fs::path& path);
void AddKey(const std::string& key);
void RemoveKey(const std::string& key);
// A value as regedit writes it; none removes it.
void SetValue(const std::string& key, const std::string& name, const std::string& value);

// Adds the path and all below it to the state.
void LookAt(const fs::path& path, sandbox::State& state);
// The machine's software and every user's. Left out are a few large branches of the system that
// the product has no keys in.
regtext::Keys ReadRegistry();

}  // namespace real
