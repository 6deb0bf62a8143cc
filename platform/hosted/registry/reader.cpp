// Reads the text form of the registry: line by line, each at most once.
#include <utility>

#include "platform/hosted/machine.h"
#include "platform/hosted/registry/file.h"

namespace hosted {

namespace {

constexpr std::string_view kBlank = " \t";

std::string_view Trimmed(std::string_view text) {
    const std::size_t first = text.find_first_not_of(kBlank);
    if (first == std::string_view::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(kBlank) - first + 1);
}

bool TakePrefix(std::string_view& text, std::string_view prefix) {
    if (!text.starts_with(prefix)) {
        return false;
    }
    text.remove_prefix(prefix.size());
    return true;
}

int HexDigit(char letter) {
    if (letter >= '0' && letter <= '9') {
        return letter - '0';
    }
    const int lower = letter | 0x20;
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

// Takes a number of one to maxDigits hexadecimal digits off the front.
std::optional<DWORD> TakeHex(std::string_view& text, std::size_t maxDigits) {
    DWORD number = 0;
    std::size_t digits = 0;
    while (digits < text.size() && HexDigit(text[digits]) >= 0) {
        if (digits == maxDigits) {
            return std::nullopt;
        }
        number = number << 4U | static_cast<DWORD>(HexDigit(text[digits]));
        digits++;
    }
    text.remove_prefix(digits);
    return digits > 0 ? std::optional(number) : std::nullopt;
}

class Reader {
 public:
    Reader(std::string_view text, std::string_view user, unsigned lineBefore, RegistryTree& tree)
        : text_(text), user_(user), line_(lineBefore), tree_(tree) {}

    bool ReadHeader() {
        TakePrefix(text_, "\xEF\xBB\xBF");  // editors like to mark UTF-8
        std::string_view line;
        line_ = NextLine(line) ? line_ : 1;
        return Trimmed(line) == "REGEDIT4" || Fail("the line REGEDIT4 is missing");
    }

    bool ReadLines() {
        std::string_view line;
        while (NextLine(line)) {
            line = Trimmed(line);
            if (line.empty() || line.front() == ';') {
                continue;
            }
            if (!(line.front() == '[' ? ReadKey(line) : ReadValue(line))) {
                return false;
            }
        }
        return true;
    }

    [[nodiscard]] RegistryDamage Damage() const { return {line_, what_}; }

 private:
    bool Fail(const char* what) {
        what_ = what;
        return false;
    }

    bool NextLine(std::string_view& line) {
        if (text_.empty()) {
            return false;
        }
        const std::size_t end = text_.find('\n');
        line = text_.substr(0, end);
        text_.remove_prefix(end == std::string_view::npos ? text_.size() : end + 1);
        if (line.ends_with('\r')) {
            line.remove_suffix(1);
        }
        line_++;
        return true;
    }

    bool CheckKeyName(std::string_view fullName) {
        if (!IsWritableName(fullName)) {
            return Fail("a key name has a control character in it");
        }
        TakePathPart(fullName);
        bool more = !fullName.empty();
        for (std::size_t level = 1; more; level++) {
            more = fullName.find('\\') != std::string_view::npos;
            const std::string_view part = TakePathPart(fullName);
            if (part.empty()) {
                return Fail("a key name is empty");
            }
            if (part.size() > kLongestKeyName) {
                return Fail("a key name is longer than 255 characters");
            }
            if (level > kDeepestKey) {
                return Fail("a key lies deeper than 512 levels");
            }
        }
        return true;
    }

    bool ReadKey(std::string_view line) {
        if (line.back() != ']') {
            return Fail("the ] after a key name is missing");
        }
        line = line.substr(1, line.size() - 2);
        const bool deletes = TakePrefix(line, "-");
        const std::optional<std::string> name = RealKeyName(FromUtf8(line), user_);
        if (!name) {
            return Fail("a key name does not start with a known root");
        }
        if (line.ends_with('\\')) {
            return Fail("a key name is empty");
        }
        if (!CheckKeyName(*name)) {
            return false;
        }
        if (!deletes) {
            key_ = tree_.Create(*name);
            return true;
        }
        if (name->find('\\') == std::string::npos) {
            return Fail("a root cannot be deleted");
        }
        key_ = nullptr;
        if (const std::shared_ptr<RegistryNode> key = tree_.Find(*name)) {
            tree_.Delete(*key);
        }
        return true;
    }

    // Takes a text in quotation marks off the front.
    bool TakeQuoted(std::string_view& line, std::string& text) {
        std::string utf8;
        for (std::size_t index = 1; index < line.size(); index++) {
            if (line[index] == '"') {
                line.remove_prefix(index + 1);
                text = FromUtf8(utf8);
                return true;
            }
            if (line[index] == '\\') {
                index++;
                if (index == line.size() || (line[index] != '\\' && line[index] != '"')) {
                    return Fail("a \\ in a text stands alone; it is written \\\\");
                }
            }
            utf8 += line[index];
        }
        return Fail("the quotation mark after a text is missing");
    }

    bool TakeName(std::string_view& line, std::string& name) {
        if (line.front() == '"') {
            if (!TakeQuoted(line, name)) {
                return false;
            }
        } else if (!TakePrefix(line, "@")) {
            return Fail("neither a key nor a value");
        }
        line = Trimmed(line);
        if (!TakePrefix(line, "=")) {
            return Fail("the = after a value's name is missing");
        }
        line = Trimmed(line);
        if (name.size() > kLongestValueName) {
            return Fail("a value's name is longer than 16383 characters");
        }
        return IsWritableName(name) || Fail("a value's name has a control character in it");
    }

    // The bytes of a value, "01,02,\" and on in the next line.
    bool TakeBytes(std::string_view& line, std::string& data) {
        line = Trimmed(line);
        if (line.empty() || line.front() == ';') {
            return true;
        }
        while (true) {
            line = Trimmed(line);
            if (line == "\\") {
                if (!NextLine(line)) {
                    return Fail("the file ends in the middle of a value");
                }
                continue;
            }
            const std::optional<DWORD> byte = TakeHex(line, 2);
            if (!byte) {
                return Fail("a byte of two hexadecimal digits is missing");
            }
            data += static_cast<char>(*byte);
            line = Trimmed(line);
            if (!TakePrefix(line, ",")) {
                return true;
            }
        }
    }

    bool TakeHexData(std::string_view& line, RegistryValue& value) {
        value.type = REG_BINARY;
        if (TakePrefix(line, "(")) {
            const std::optional<DWORD> type = TakeHex(line, 8);
            if (!type || !TakePrefix(line, ")")) {
                return Fail("hex(...) needs a type number in hexadecimal digits");
            }
            value.type = *type;
        }
        if (!TakePrefix(line, ":")) {
            return Fail("the : after hex is missing");
        }
        return TakeBytes(line, value.data);
    }

    bool TakeDword(std::string_view& line, RegistryValue& value) {
        line = Trimmed(line);
        const std::optional<DWORD> number = TakeHex(line, 8);
        if (!number) {
            return Fail("dword: needs one to eight hexadecimal digits");
        }
        value.type = REG_DWORD;
        for (unsigned shift = 0; shift < 32; shift += 8) {
            value.data += static_cast<char>(*number >> shift & 0xFFU);
        }
        return true;
    }

    bool TakeData(std::string_view& line, RegistryValue& value) {
        if (line.starts_with('"')) {
            value.type = REG_SZ;
            if (!TakeQuoted(line, value.data)) {
                return false;
            }
            value.data += '\0';
            return true;
        }
        if (TakePrefix(line, "dword:")) {
            return TakeDword(line, value);
        }
        if (TakePrefix(line, "hex")) {
            return TakeHexData(line, value);
        }
        return Fail("a value is neither a text nor dword: nor hex:");
    }

    bool ReadValue(std::string_view line) {
        RegistryValue value;
        if (!TakeName(line, value.name)) {
            return false;
        }
        const bool deletes = TakePrefix(line, "-");
        if (!deletes && !TakeData(line, value)) {
            return false;
        }
        line = Trimmed(line);
        if (!line.empty() && line.front() != ';') {
            return Fail("something stands behind a value");
        }
        if (key_ == nullptr) {
            return Fail("a value stands before its key");
        }
        if (deletes) {
            RegistryTree::DeleteValue(*key_, value.name);
        } else {
            tree_.SetValue(*key_, value.name, value.type, std::move(value.data));
        }
        return true;
    }

    std::string_view text_;
    std::string_view user_;
    unsigned line_;
    RegistryTree& tree_;
    std::shared_ptr<RegistryNode> key_;
    const char* what_ = "";
};

}  // namespace

std::optional<RegistryDamage> ReadRegistryText(std::string_view text, std::string_view user,
                                               RegistryTree& tree) {
    Reader reader(text, user, 0, tree);
    if (reader.ReadHeader() && reader.ReadLines()) {
        return std::nullopt;
    }
    return reader.Damage();
}

std::optional<RegistryDamage> ReadRegistryChanges(std::string_view text, std::string_view user,
                                                  unsigned firstLine, RegistryTree& tree) {
    Reader reader(text, user, firstLine - 1, tree);
    return reader.ReadLines() ? std::nullopt : std::optional(reader.Damage());
}

}  // namespace hosted
