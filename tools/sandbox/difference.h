// What two looks at a sandbox have different, and what of it belongs to the product. The tests
// print it as lines, ./run as a report; both expect the lines of one list.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tools/sandbox/look.h"

namespace sandbox {

// A file, a folder, a key or a value of either state.
struct Item {
    enum class Kind { File, Folder, Key, Value } kind = Kind::File;
    std::string place;                         // the path or the key's full name
    std::string name;                          // of a value, "" for the default one
    std::optional<std::string> before, after;  // what it was and is, nothing where there is none
    bool same = false;
    bool withKey = false;  // a value that has come or gone with its key

    [[nodiscard]] bool IsEntry() const { return kind == Kind::File || kind == Kind::Folder; }
    // Like "- file C:\x", "+ folder C:\y", "~ file C:\z: 12 bytes, R -> 12 bytes", "- key HKLM\x",
    // "+ value HKLM\x\@: \"a\"", "~ value HKU\x\n: dword:00000005 -> \"b\"".
    [[nodiscard]] std::string Line() const;
};
// All of them: files before keys, values after their key, in the order of the names; what is new
// comes after the old of its kind.
std::vector<Item> Compare(const State& before, const State& after);

// The lines of what is not the same. What lies below a folder or key that is gone is gone with it
// and has no line of its own.
std::vector<std::string> Difference(const State& before, const State& after);

// What belongs to the product: all that the lines of a list name. A folder or a key is meant with
// all that lies below it, unless the list names something below it, too: then it is meant alone.
// A value may only change as its line says.
class Ours {
 public:
    explicit Ours(const std::string& list);

    [[nodiscard]] bool Has(const Item& item) const;
    // Whether the item lies in a folder or a key that is meant with all below it.
    [[nodiscard]] bool HasTreeOf(const Item& item) const;

 private:
    std::map<std::string, std::string, regtext::ByName> lines_;  // by what they name
};

}  // namespace sandbox
