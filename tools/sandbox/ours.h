// What of a sandbox belongs to the product, from a file of rules (UTF-8), one a line:
//
//   folder PATH                  the folder with everything in it
//   file   PATH
//   key    KEY                   the key with everything below it
//   alone  KEY                   the key with its values, but without its subkeys
//   value  KEY | NAME            a single value, @ for the default one; it may go or change
//   value  KEY | NAME -> DATA    it may only become DATA: "text", or a decimal number
//
// Empty lines and those that start with "#" say nothing. Keys are named by where they are
// kept, root first: HKEY_LOCAL_MACHINE or HKEY_USERS. A part of a name that is <any> stands
// for every part. Letter case does not matter, except in DATA.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace sandbox {

class Ours {
 public:
    // Throws std::runtime_error, with the line's number, for a rule that is none.
    explicit Ours(const std::string& rules);

    [[nodiscard]] bool HasPath(std::string_view path) const;
    [[nodiscard]] bool HasKey(std::string_view key) const;
    // The key with all below it, not only for itself.
    [[nodiscard]] bool HasTree(std::string_view key) const;
    [[nodiscard]] bool HasValue(std::string_view key, std::string_view name) const;
    // Whether this may happen to the value: data is what it becomes, nothing when it goes.
    [[nodiscard]] bool Allows(std::string_view key, std::string_view name,
                              const std::optional<std::string>& data) const;

 private:
    struct Rule {
        std::string kind;
        std::string place;  // path or key
        std::string name;   // of a value, empty for the default one
        std::optional<std::string> data;
    };
    [[nodiscard]] const Rule* Find(std::string_view kind, std::string_view place, bool below,
                                   std::string_view name = {}) const;

    std::vector<Rule> rules_;
};

}  // namespace sandbox
