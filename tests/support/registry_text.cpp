#include "tests/support/registry_text.h"

#include <stdexcept>

namespace support {
namespace {

// The next line without its break; a line that ends in a backslash goes on in the next.
std::string NextLine(std::string_view& text) {
    std::string line;
    for (bool more = true; more;) {
        const std::size_t end = text.find('\n');
        std::string_view piece = text.substr(0, end);
        text = end == std::string_view::npos ? std::string_view() : text.substr(end + 1);
        if (piece.ends_with('\r')) {
            piece.remove_suffix(1);
        }
        piece.remove_prefix(line.empty() ? 0
                                         : std::min(piece.find_first_not_of(" \t"), piece.size()));
        more = piece.ends_with(",\\") && !text.empty();
        piece.remove_suffix(more ? 1 : 0);
        line += piece;
    }
    return line;
}

// The text of a quoted part that starts at position 0; end receives the position behind
// its closing quote.
std::string Unquote(std::string_view quoted, std::size_t& end) {
    std::string text;
    for (std::size_t i = 1; i < quoted.size(); ++i) {
        if (quoted[i] == '"') {
            end = i + 1;
            return text;
        }
        if (quoted[i] == '\\' && i + 1 < quoted.size()) {
            ++i;
        }
        text += quoted[i];
    }
    throw std::runtime_error("registry text: no closing quote in " + std::string(quoted));
}

std::string Quote(const std::string& text) {
    std::string quoted = "\"";
    for (const char c : text) {
        quoted += c == '"' || c == '\\' ? std::string{'\\', c} : std::string{c};
    }
    return quoted + "\"";
}

std::string OneSpelling(std::string value) {
    if (!value.starts_with('"')) {
        std::erase(value, ' ');
        for (char& c : value) {
            c = static_cast<char>(c >= 'A' && c <= 'F' ? c - 'A' + 'a' : c);
        }
    }
    return value;
}

void AddWithParents(Keys& keys, const std::string& key) {
    for (std::size_t i = key.find('\\'); i != std::string::npos; i = key.find('\\', i + 1)) {
        keys[key.substr(0, i)];
    }
    keys[key];
}

}  // namespace

Keys ParseRegistry(std::string_view text) {
    Keys keys;
    std::string key;
    if (NextLine(text) != "REGEDIT4") {
        throw std::runtime_error("registry text: REGEDIT4 is missing");
    }
    while (!text.empty()) {
        const std::string line = NextLine(text);
        if (line.starts_with('[') && line.ends_with(']')) {
            key = line.substr(1, line.size() - 2);
            AddWithParents(keys, key);
        } else if (line.starts_with("@=")) {
            keys[key][""] = OneSpelling(line.substr(2));
        } else if (line.starts_with('"')) {
            std::size_t end = 0;
            const std::string name = Unquote(line, end);
            keys[key][name] = OneSpelling(line.substr(end + 1));
        } else if (!line.empty() && !line.starts_with(';')) {
            throw std::runtime_error("registry text: what is " + line);
        }
    }
    return keys;
}

std::string FormatRegistry(const Keys& keys) {
    std::string text = "REGEDIT4\n";
    for (const auto& [key, values] : keys) {
        text += "\n[" + key + "]\n";
        for (const auto& [name, value] : values) {
            text += (name.empty() ? "@" : Quote(name)) + "=" + value + "\n";
        }
    }
    return text;
}

TypedValue ParseValue(const std::string& value) {
    if (value.starts_with('"')) {
        std::size_t end = 0;
        return {1, Unquote(value, end) + '\0'};
    }
    TypedValue result;
    std::size_t digits = value.find(':') + 1;
    if (value.starts_with("dword:")) {
        const unsigned long number = std::stoul(value.substr(digits), nullptr, 16);
        for (unsigned shift = 0; shift < 32; shift += 8) {
            result.data += static_cast<char>((number >> shift) & 0xFFU);
        }
        result.type = 4;
        return result;
    }
    // "hex:" is binary data, "hex(n):" data of type n
    result.type = value.starts_with("hex(")
                      ? static_cast<unsigned>(std::stoul(value.substr(4), nullptr, 16))
                      : 3;
    for (; digits + 1 < value.size(); digits += 3) {
        result.data += static_cast<char>(std::stoul(value.substr(digits, 2), nullptr, 16));
    }
    return result;
}

std::string FormatValue(const TypedValue& value) {
    const std::string& data = value.data;
    // One NUL, at the end, and nothing that a line cannot show.
    if (value.type == 1 && !data.empty() && data.find('\0') == data.size() - 1 &&
        data.find_first_of("\r\n") == std::string::npos) {
        return Quote(data.substr(0, data.size() - 1));
    }
    const auto hex = [](unsigned char byte) {
        constexpr std::string_view kDigits = "0123456789abcdef";
        return std::string{kDigits[byte >> 4U], kDigits[byte & 15U]};
    };
    std::string text;
    if (value.type == 4 && data.size() == 4) {
        for (const char byte : data) {
            text.insert(0, hex(static_cast<unsigned char>(byte)));
        }
        return "dword:" + text;
    }
    text = value.type == 3 ? "hex:" : "hex(" + hex(static_cast<unsigned char>(value.type)) + "):";
    if (text.starts_with("hex(0")) {
        text.erase(4, 1);
    }
    for (const char byte : data) {
        text += (text.back() == ':' ? "" : ",") + hex(static_cast<unsigned char>(byte));
    }
    return text;
}

}  // namespace support
