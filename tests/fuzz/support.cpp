#include "tests/fuzz/support.h"

#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <iostream>
#include <set>
#include <stdexcept>

#include "platform/hosted/machine.h"

namespace fuzz {
namespace {

namespace fs = std::filesystem;

// UTF-8. A name without backslash at its end is a file.
constexpr const char* kItems[] = {
    "C/Programme/Büro Tessorin/Tessorin.exe",
    "C/Programme/Büro Tessorin/Hilfe/Bilder/Öffnen.bmp",
    "C/Programme/Büro Tessorin/Vorlagen/",
    "C/Programme/Büro Tessorin Plus/Tessorin.exe",
    "C/Programme/Büro Tessorin.alt/",
    "C/Programme/100%/",
    "C/Programme/A&B/Leer/",
    "C/Programme/A/Leer/",
    "C/Programme/A B/",
    "C/Programme/AÇ/",
    "C/ führend/x",
    "C/a/b/c/d/e/f/g",
    "C/Versteckt/x.txt",
    "C/windows/Temp/",
    "C/windows/system32/cmd.exe",
    "D/Daten/x",
};

constexpr std::string_view kSettings =
    "[folders]\n"
    "temp=C:\\windows\\Temp\nsystem=C:\\windows\\system32\nwindows=C:\\windows\n"
    "common-programs=C:\\Programme\n"
    "[user]\nsid=S-1-5-21-1000\n";

void Write(const fs::path& file, std::string_view text) {
    std::ofstream(file, std::ios::binary) << text;
}

std::set<std::string> Items(const fs::path& drives) {
    std::set<std::string> items;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(drives)) {
        const bool isFile = entry.is_regular_file() && !entry.is_symlink();
        items.insert(entry.path().string() + (isFile ? std::to_string(entry.file_size()) : "/"));
    }
    return items;
}

class SmallMachine {
 public:
    SmallMachine() : folder_((fs::temp_directory_path() / "uninstall-fuzz-XXXXXX").string()) {
        if (mkdtemp(folder_.data()) == nullptr) {
            throw std::runtime_error("no temporary folder");
        }
        const fs::path drives = Folder() / "drives";
        for (const std::string_view item : kItems) {
            const fs::path path = drives / item;
            fs::create_directories(path.parent_path());
            if (!item.ends_with('/')) {
                Write(path, "content");
            }
        }
        fs::create_directory_symlink(drives / "C/Programme", drives / "C/Verweis");
        Write(Folder() / "machine.ini", kSettings);
        Write(Folder() / "attributes.txt", "HS C:\\Versteckt\nR C:\\a\\b\n");
        items_ = Items(drives);
        hosted::Machine::Use(Folder());
    }
    SmallMachine(const SmallMachine&) = delete;
    SmallMachine& operator=(const SmallMachine&) = delete;
    ~SmallMachine() {
        hosted::Machine::Leave();
        std::error_code ignored;  // what cannot be removed stays in the temporary folder
        fs::remove_all(Folder(), ignored);
    }

    [[nodiscard]] fs::path Folder() const { return folder_; }
    [[nodiscard]] bool IsUntouched() const { return Items(Folder() / "drives") == items_; }

 private:
    std::string folder_;
    std::set<std::string> items_;
};

const SmallMachine& TheMachine() {
    static const SmallMachine machine;
    return machine;
}

}  // namespace

void Require(bool holds, std::string_view rule, std::string_view subject) {
    if (holds) {
        return;
    }
    constexpr std::string_view kDigits = "0123456789ABCDEF";
    std::string readable;
    for (const char byte : subject) {
        const auto code = static_cast<unsigned char>(byte);
        if (code >= 0x20 && code < 0x7F) {
            readable += byte;
        } else {
            readable += {'\\', 'x', kDigits[code / 16], kDigits[code % 16]};
        }
    }
    std::cerr << "broken rule: " << rule << ": \"" << readable << "\"\n";
    std::abort();
}

const fs::path& MachineFolder() {
    static const fs::path folder = TheMachine().Folder();
    return folder;
}

bool IsUntouched() {
    return TheMachine().IsUntouched();
}

}  // namespace fuzz
