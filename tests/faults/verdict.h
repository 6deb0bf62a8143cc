// What must hold for a machine and its user whatever went wrong while the product was
// removed: rules, no recorded output.
//
// They compare three states: before, after a removal in which nothing went wrong, and after
// the run in question. Everything must be as in one of the first two; what is still as
// before although it should be gone is left over, and somebody must have been told.
#pragma once

#include <string>
#include <vector>

#include "tests/support/flow.h"

namespace support {

struct Item {
    enum class Kind { File, Key, Value } kind = Kind::File;
    std::string place;  // path, or full name of the key
    std::string name;   // of a value

    [[nodiscard]] std::string Text() const;
};

struct Baseline {
    State before, complete;
};
// Of a run in which nothing goes wrong; that it does what it should is expected here.
Baseline TakeBaseline();

// The files of the hand-over in the temporary folder.
Lines HandOverFiles();

// What is neither as before nor as after a complete removal, the files of the hand-over
// aside.
std::vector<Item> Foreign(const Baseline& baseline, const State& after);
// What a complete removal would have removed or changed and is still as before.
std::vector<Item> LeftOver(const Baseline& baseline, const State& after);

// What a run told its user.
struct Told {
    bool success = false;     // that everything is gone
    bool problems = false;    // the completion dialog was shown
    bool ended = false;       // that the run ends here: a fatal report, an unknown argument, or
                              // an answer with which the user ended it
    bool keptShell = false;   // the user wanted the shell's settings to stay
    std::string lines;        // the dialog's lines and the reports that were passed over
    std::string interpreter;  // what the command interpreter said
    Lines unexpected;         // what no run may say
};
Told WhatWasTold(const Outcome& outcome);

// Whether a line or a report names the item: by its own name where there is a step for it
// alone, else by that of something above it.
bool IsNamed(const Item& item, const Told& told);

// A setting of the shell, which goes only if the user wants it.
bool IsShellSetting(const Item& item);
// A maker's key below which something is still there: it has to stay.
bool IsMakerKeyInUse(const Item& item, const State& after);

}  // namespace support
