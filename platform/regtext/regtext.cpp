// Reading and writing the text form of a registry.
#include "platform/regtext/regtext.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>
#include <utility>

namespace regtext {
namespace {

constexpr std::ptrdiff_t kMostLevels = 512;  // more the system does not know either
constexpr std::string_view kBlanks = " \t\r";
constexpr std::uint32_t kText = 1, kBinary = 3, kNumber = 4;  // REG_SZ and so on

// Where a byte of a name stands in the order: the backslash first, small letters with the
// capital ones. Those beyond ASCII are two bytes, told by the first.
unsigned Rank(std::string_view name, std::size_t i) {
    const auto byte = static_cast<unsigned char>(name[i]);
    const unsigned char before = i > 0 ? static_cast<unsigned char>(name[i - 1]) : 0;
    if (byte == '\\') {
        return 0;
    }
    if ((byte >= 'a' && byte <= 'z') ||
        (before == 0xC3 && byte >= 0xA0 && byte < 0xBF && byte != 0xB7)) {
        return byte - 0x20U + 1;
    }
    const bool small = before == 0xC5 && (byte == 0xA1 || byte == 0x93 || byte == 0xBE);
    return byte - (small ? 1U : 0U) + 1;
}

// How many bytes the first character has; 0 if it is none in UTF-8.
std::size_t CharacterLength(std::string_view text) {
    constexpr std::array<std::uint32_t, 5> kSmallest{0, 0, 0x80, 0x800, 0x10000};
    const auto lead = static_cast<unsigned char>(text[0]);
    const std::size_t length = lead < 0x80   ? 1
                               : lead < 0xC0 ? 0
                               : lead < 0xE0 ? 2
                               : lead < 0xF0 ? 3
                                             : 4;
    if (length < 2) {
        return length;
    }
    std::uint32_t code = lead & (0x7FU >> length);
    for (std::size_t i = 1; i < length; ++i) {
        if (i == text.size() || (static_cast<unsigned char>(text[i]) & 0xC0U) != 0x80) {
            return 0;
        }
        code = code << 6 | (static_cast<unsigned char>(text[i]) & 0x3FU);
    }
    const bool isSurrogate = code >= 0xD800 && code < 0xE000;
    return lead < 0xF8 && code >= kSmallest.at(length) && code <= 0x10FFFF && !isSurrogate ? length
                                                                                           : 0;
}

bool TakePrefix(std::string_view& text, std::string_view prefix) {
    const bool found = text.starts_with(prefix);
    text.remove_prefix(found ? prefix.size() : 0);
    return found;
}

std::string_view Trimmed(std::string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
    return text.substr(0, text.find_last_not_of(kBlanks) + 1);
}

[[noreturn]] void Wrong(const char* what) {
    throw Damage(0, what);
}

// Takes a text in quotation marks off the front.
std::string TakeQuoted(std::string_view& line) {
    std::string text;
    for (std::size_t i = 1; i < line.size(); ++i) {
        if (line[i] == '"') {
            line.remove_prefix(i + 1);
            return text;
        }
        if (line[i] == '\\' && (++i == line.size() || (line[i] != '\\' && line[i] != '"'))) {
            Wrong("a \\ in a text stands alone; it is written \\\\");
        }
        text += line[i];
    }
    Wrong("the quotation mark after a text is missing");
}

std::string Quoted(std::string_view text) {
    std::string quoted = "\"";
    for (const char c : text) {
        quoted.append(c == '"' || c == '\\' ? "\\" : "") += c;
    }
    return quoted += '"';
}

// Takes a number of one to maxDigits hexadecimal digits off the front.
std::uint32_t TakeHex(std::string_view& text, std::size_t maxDigits) {
    std::uint32_t number = 0;
    const char* const end = text.data() + std::min(maxDigits, text.size());
    const auto result = std::from_chars(text.data(), end, number, 16);
    if (result.ec != std::errc()) {
        Wrong("a hexadecimal number is missing");
    }
    text.remove_prefix(static_cast<std::size_t>(result.ptr - text.data()));
    return number;
}

void AppendHex(std::string& text, std::uint32_t number, int digits) {
    std::array<char, 9> hex{};
    text.append(hex.data(), static_cast<std::size_t>(
                                std::snprintf(hex.data(), hex.size(), "%0*x", digits, number)));
}

class Reader {
 public:
    Reader(std::string_view text, std::string_view user) : text_(text), user_(user) {}

    Keys Read() {
        try {
            ReadAll();
        } catch (const Damage& damage) {
            throw Damage(line_, damage.what());
        }
        return std::move(keys_);
    }

 private:
    void ReadAll() {
        AddKey(keys_, "HKEY_LOCAL_MACHINE");
        AddKey(keys_, "HKEY_USERS");
        if (line_ = LineThatIsNoUtf8(text_); line_ != 0) {
            Wrong(kNoUtf8);
        }
        TakePrefix(text_, "\xEF\xBB\xBF");  // editors like to mark UTF-8
        if (NextLine() != "REGEDIT4") {
            line_ = 1;
            Wrong("the line REGEDIT4 is missing");
        }
        while (!text_.empty()) {
            const std::string line = NextLine();
            if (line.starts_with('[')) {
                ReadKey(line);
            } else if (!line.empty() && line.front() != ';') {
                ReadValue(line);
            }
        }
    }

    // With those that it goes on in.
    std::string NextLine() {
        std::string line;
        for (bool more = true; more && !text_.empty();) {
            const std::size_t end = std::min(text_.find('\n'), text_.size());
            line += Trimmed(text_.substr(0, end));
            text_.remove_prefix(std::min(end + 1, text_.size()));
            more = line.ends_with(",\\") && line.front() != ';';
            line.resize(line.size() - (more ? 1 : 0));
            ++line_;
        }
        return line;
    }

    void ReadKey(std::string_view line) {
        if (line.back() != ']') {
            Wrong("the ] after a key name is missing");
        }
        const std::string_view name = line.substr(1, line.size() - 2);
        const std::vector<std::string> places = PlacesOf(name, user_);
        if (places.empty()) {
            Wrong("a key name does not start with a known root");
        }
        if (name.ends_with('\\') || name.find("\\\\") != std::string_view::npos) {
            Wrong("a part of a key name is empty");
        }
        if (std::count(name.begin(), name.end(), '\\') > kMostLevels) {
            Wrong("a key has more than 512 levels above it");
        }
        values_ = &AddKey(keys_, places.back());
    }

    void ReadValue(std::string_view line) {
        std::string name;
        if (line.front() == '"') {
            name = TakeQuoted(line);
            line = Trimmed(line);
        }
        if (!TakePrefix(line, name.empty() ? "@=" : "=")) {
            Wrong("neither a key nor a value");
        }
        if (values_ == nullptr) {
            Wrong("a value stands before its key");
        }
        std::string value(Trimmed(line));
        if (!value.starts_with('"')) {
            std::erase(value, ' ');
        }
        (*values_)[name] = FormatValue(ParseValue(value));
    }

    std::string_view text_;
    std::string_view user_;
    unsigned line_ = 0;
    Keys keys_;
    Values* values_ = nullptr;  // of the section
};

}  // namespace

bool ByName::operator()(std::string_view left, std::string_view right) const {
    const std::size_t length = std::min(left.size(), right.size());
    for (std::size_t i = 0; i < length; ++i) {
        if (Rank(left, i) != Rank(right, i)) {
            return Rank(left, i) < Rank(right, i);
        }
    }
    return left.size() < right.size();
}

unsigned LineThatIsNoUtf8(std::string_view text) {
    unsigned line = 1;
    for (std::size_t i = 0; i < text.size();) {
        const std::size_t length = CharacterLength(text.substr(i));
        if (length == 0) {
            return line;
        }
        line += text[i] == '\n' ? 1 : 0;
        i += length;
    }
    return 0;
}

Values& AddKey(Keys& keys, const std::string& key) {
    const auto [place, isNew] = keys.try_emplace(key);
    const std::size_t cut = isNew ? key.rfind('\\') : std::string::npos;
    if (cut != std::string::npos) {
        AddKey(keys, key.substr(0, cut));
    }
    return place->second;
}

void RemoveTree(Keys& keys, const std::string& key) {
    keys.erase(keys.lower_bound(key), keys.lower_bound(EndOf(key)));
}

std::vector<std::string> PlacesOf(std::string_view key, std::string_view user) {
    const std::string_view root = key.substr(0, key.find('\\'));
    std::string below(key.substr(root.size()));
    below.erase(below.find_last_not_of('\\') + 1);
    const std::string machine = "HKEY_LOCAL_MACHINE", users = "HKEY_USERS";
    const std::string hive = users + "\\" + (user.empty() ? ".DEFAULT" : std::string(user));
    if (root == machine || root == users) {
        return {std::string(root) + below};
    }
    if (root == "HKEY_CURRENT_USER") {
        return {hive + below};
    }
    if (root == "HKEY_CLASSES_ROOT") {
        below.insert(0, "\\Software\\Classes");
        return {hive + below, machine + below};
    }
    return {};
}

Keys Parse(std::string_view text, std::string_view user) {
    return Reader(text, user).Read();
}

std::string Format(const Keys& keys) {
    std::string text = "REGEDIT4\n";
    for (const auto& [key, values] : keys) {
        text.append("\n[").append(key).append("]\n");
        for (const auto& [name, value] : values) {
            text.append(name.empty() ? "@" : Quoted(name)).append("=").append(value).append("\n");
        }
    }
    return text;
}

TypedValue ParseValue(std::string_view value, Convert fromUtf8) {
    TypedValue result;
    if (value.starts_with('"')) {
        result = {kText, fromUtf8(TakeQuoted(value)) + '\0'};
    } else if (TakePrefix(value, "dword:")) {
        result.type = kNumber;
        const std::uint32_t number = TakeHex(value, 8);
        for (unsigned shift = 0; shift < 32; shift += 8) {
            result.data += static_cast<char>(number >> shift & 0xFFU);
        }
    } else if (TakePrefix(value, "hex")) {
        const bool typed = TakePrefix(value, "(");
        result.type = typed ? TakeHex(value, 8) : kBinary;
        if ((typed && !TakePrefix(value, ")")) || !TakePrefix(value, ":")) {
            Wrong("neither hex: nor hex(n):");
        }
        for (bool more = !value.empty(); more; more = TakePrefix(value, ",") && !value.empty()) {
            result.data += static_cast<char>(TakeHex(value, 2));
        }
    } else {
        Wrong("a value is neither a text nor dword: nor hex:");
    }
    if (!value.empty()) {
        Wrong("something stands after a value");
    }
    return result;
}

std::string FormatValue(const TypedValue& value, Convert toUtf8) {
    const std::string& data = value.data;
    // One NUL, at the end, and nothing that a line cannot hold.
    if (value.type == kText && !data.empty() &&
        data.find_first_of(std::string_view("\0\r\n", 3)) == data.size() - 1 &&
        data.back() == '\0') {
        return Quoted(toUtf8(std::string_view(data).substr(0, data.size() - 1)));
    }
    std::string text;
    if (value.type == kNumber && data.size() == sizeof value.type) {
        text = "dword:";
        for (auto byte = data.rbegin(); byte != data.rend(); ++byte) {
            AppendHex(text, static_cast<unsigned char>(*byte), 2);
        }
        return text;
    }
    text = "hex";
    if (value.type != kBinary) {
        AppendHex(text += '(', value.type, 1);
        text += ')';
    }
    text += ':';
    for (const char byte : data) {
        AppendHex(text += text.back() == ':' ? "" : ",", static_cast<unsigned char>(byte), 2);
    }
    return text;
}

}  // namespace regtext
