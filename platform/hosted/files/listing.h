// What a folder on the disk holds, as the machine sees it: names without regard to case,
// in the order of their capitals, each with its short name.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace hosted {

class Listing {
 public:
    struct Entry {
        std::string stored;  // UTF-8, as on the disk
        std::string name;    // the same in Windows-1252
    };
    using Entries = std::map<std::string, Entry, std::less<>>;  // by the name's capitals

    explicit Listing(const std::string& folder);

    [[nodiscard]] const Entries& All() const { return entries_; }
    void Add(std::string_view stored);
    void Remove(std::string_view stored);
    // By long name or, failing that, by short name; null where there is none.
    [[nodiscard]] const Entry* Find(std::string_view name);
    // "TESSOR~1"; the name itself in capitals where that is a valid short name.
    [[nodiscard]] std::string ShortName(std::string_view name);

 private:
    // The names that share the beginning of their short names, in order: the place of a
    // name among them is its number.
    using Group = std::vector<const std::string*>;
    void AddToGroup(const std::string& capitals);
    [[nodiscard]] Group& GroupOf(std::string_view capitals);

    Entries entries_;
    std::unordered_map<std::string, Group> groups_;
};

// The listing of a folder, kept for as long as the disk reports no other change to it than
// those that it has taken in. Valid until the next call.
Listing& ListingOf(const std::string& folder);

// The name under which a folder stores an entry (UTF-8), empty where it has none.
std::string StoredName(const std::string& folder, std::string_view name);

// Whether a name is its own short name, whatever its case.
bool IsShortName(std::string_view name);

// Whether a name fits a pattern with "*" and "?", as the system's file search means it.
bool HasWildcards(std::string_view pattern);
bool NameMatches(std::string_view pattern, std::string_view name);

}  // namespace hosted
