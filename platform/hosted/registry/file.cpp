#include "platform/hosted/registry/file.h"

#include <algorithm>
#include <string>
#include <vector>

#include "platform/hosted/machine.h"

namespace hosted {

namespace {

constexpr std::string_view kHexDigits = "0123456789abcdef";
constexpr std::size_t kColumns = 77;  // regedit breaks lines so that they stay below 80

// Text that a line can show: one NUL, at its end, and no control characters but tabs.
bool IsPlainText(std::string_view data) {
    return !data.empty() && data.back() == '\0' &&
           std::all_of(data.begin(), data.end() - 1, [](char letter) {
               const auto code = static_cast<unsigned char>(letter);
               return (code >= 32 && code != 127) || code == '\t';
           });
}

std::string Quoted(std::string_view text) {
    std::string quoted = "\"";
    for (const char letter : ToUtf8(text)) {
        if (letter == '\\' || letter == '"') {
            quoted += '\\';
        }
        quoted += letter;
    }
    return quoted + '"';
}

std::string HexNumber(DWORD number, std::size_t digits) {
    std::string text;
    for (; number != 0 || text.size() < digits; number >>= 4U) {
        text += kHexDigits[number & 15U];
    }
    std::reverse(text.begin(), text.end());
    return text;
}

void AppendHex(std::string& line, DWORD type, std::string_view data, bool wrapped) {
    line += type == REG_BINARY ? "hex:" : "hex(" + HexNumber(type, 1) + "):";
    std::size_t lineStart = 0;
    for (std::size_t index = 0; index < data.size(); index++) {
        if (index > 0) {
            line += ',';
            if (wrapped && line.size() - lineStart > kColumns - 3) {
                line += "\\\n";
                lineStart = line.size();
                line += "  ";
            }
        }
        const auto code = static_cast<unsigned char>(data[index]);
        line += kHexDigits[code >> 4U];
        line += kHexDigits[code & 15U];
    }
}

std::string Name(std::string_view name) {
    return name.empty() ? "@=" : Quoted(name) + '=';
}

std::string FormatValue(std::string_view name, DWORD type, std::string_view data, bool wrapped) {
    std::string line = Name(name);
    if (type == REG_SZ && IsPlainText(data)) {
        line += Quoted(data.substr(0, data.size() - 1));
    } else if (type == REG_DWORD && data.size() == sizeof(DWORD)) {
        DWORD number = 0;
        for (std::size_t index = sizeof(DWORD); index-- > 0;) {
            number = number << 8U | static_cast<unsigned char>(data[index]);
        }
        line += "dword:" + HexNumber(number, 8);
    } else {
        AppendHex(line, type, data, wrapped);
    }
    return line + '\n';
}

void AppendSections(std::string& text, std::string& fullName, const RegistryNode& key,
                    bool isRoot) {
    const std::size_t length = fullName.size();
    if (!isRoot) {
        fullName += '\\';
    }
    fullName += ToUtf8(key.name);
    // The roots are always there; one without values has nothing to say.
    if (!isRoot || !key.values.empty()) {
        text += "\n[" + fullName + "]\n";
        std::vector<const RegistryValue*> values;
        values.reserve(key.values.size());
        for (const auto& [name, value] : key.values) {
            values.push_back(&value);
        }
        std::sort(values.begin(), values.end(),
                  [](const auto* left, const auto* right) { return left->order < right->order; });
        for (const RegistryValue* value : values) {
            text += FormatValue(value->name, value->type, value->data, true);
        }
    }
    for (const auto& [name, child] : key.children) {
        AppendSections(text, fullName, *child, false);  // at most kDeepestKey levels
    }
    fullName.resize(length);
}

}  // namespace

std::optional<std::string> RealKeyName(std::string_view fullName, std::string_view user,
                                       bool userClasses) {
    std::string_view rest = fullName;
    const std::string root = UpperCase(TakePathPart(rest));
    // Where nobody is logged on, the default hive stands for the user's.
    std::string hive = "HKEY_USERS\\";
    hive += user.empty() ? ".DEFAULT" : user;
    std::string real;
    if (root == "HKEY_LOCAL_MACHINE" || root == "HKEY_USERS") {
        real = root;
    } else if (root == "HKEY_CURRENT_USER") {
        real = hive;
    } else if (root == "HKEY_CLASSES_ROOT") {
        real = (userClasses ? hive : "HKEY_LOCAL_MACHINE") + "\\Software\\Classes";
    } else {
        return std::nullopt;
    }
    if (!rest.empty()) {
        real += '\\';
        real += rest;
    }
    return real;
}

std::string RegistryText(const RegistryTree& tree) {
    std::string text = "REGEDIT4\n";
    std::string fullName;
    for (const auto& [name, root] : tree.Top().children) {
        AppendSections(text, fullName, *root, true);
    }
    return text;
}

std::string KeyLine(std::string_view fullName) {
    return '[' + ToUtf8(fullName) + "]\n";
}

std::string DeletedKeyLine(std::string_view fullName) {
    return "[-" + ToUtf8(fullName) + "]\n";
}

std::string ValueLine(std::string_view name, DWORD type, std::string_view data) {
    return FormatValue(name, type, data, false);
}

std::string DeletedValueLine(std::string_view name) {
    return Name(name) + "-\n";
}

bool IsWritableName(std::string_view name) {
    return name.find_first_of(std::string_view("\0\r\n", 3)) == std::string_view::npos;
}

}  // namespace hosted
