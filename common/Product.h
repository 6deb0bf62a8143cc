// What the product is called, on disk and in the registry. Each name stands here once.
#pragma once

#include <string_view>

namespace Product {

inline constexpr char Name[] = "Tessorin";  // also its verb in the shell's menus
inline constexpr char Program[] = "Tessorin.exe";
inline constexpr char Uninstaller[] = "UnInstall.exe";
inline constexpr std::string_view GroupSuffix = "Tessorin\\";  // below the Programs folder

// In the temporary folder; the copy has the uninstaller's own name.
inline constexpr auto& Copy = Uninstaller;
inline constexpr char Script[] = "UnInstall.bat";
inline constexpr char ScriptRecord[] = "UnInstall.pif";

// What the script hands to the copy, with the program folder after it.
inline constexpr std::string_view UninstallOption = "/u=";

inline constexpr char Key[] = "Software\\Verlonix\\Tessorin";
inline constexpr char MakerKey[] = "Software\\Verlonix";
inline constexpr char UninstallKey[] =
    "Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\Tessorin";
inline constexpr char SharedFilesKey[] = "Software\\Microsoft\\Windows\\CurrentVersion\\SharedDLLs";

}  // namespace Product
