// What happened to a machine, sorted into what was the product's and what was not.
#pragma once

#include <string>
#include <vector>

#include "tools/machine/ours.h"
#include "tools/machine/snapshot.h"

namespace report {

struct Count {
    std::size_t files = 0, folders = 0, keys = 0, values = 0;
    [[nodiscard]] std::string Text() const;  // "3 files, 1 folder", empty for nothing
};

struct Change {
    std::string place;          // a path, or a key
    std::string value;          // the name of a value of that key, "(Default)" for the default one
    std::string before, after;  // what the value was and is, or what is said of an entry
    Count with;                 // of something removed or added: what was in it, itself included
};

struct Changes {
    std::vector<Change> removed, changed, added;
    [[nodiscard]] bool Empty() const { return removed.empty() && changed.empty() && added.empty(); }
};

struct Difference {
    Changes ours, foreign;
    std::vector<Change> left;  // of the product, as it was before
    Count untouched;           // of everybody else
};

Difference Compare(const Snapshot& before, const Snapshot& after, const Ours& ours);

}  // namespace report
