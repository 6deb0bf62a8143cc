// Frames on the stack as the compiler describes them in the program's .eh_frame section,
// in the format of the DWARF standard. Only what GCC writes for 32-bit Windows: registers
// saved on the stack, frames found by esp or ebp.
#pragma once

#include <cstdint>

namespace frames {

using Address = std::uintptr_t;

// DWARF's numbers of the registers; the eighth "register" is the return address.
enum Register : unsigned { Eax, Ecx, Edx, Ebx, Esp, Ebp, Esi, Edi, Count };

}  // namespace frames

// A frame on the stack: what its registers hold, and what is known of its function.
struct _Unwind_Context {  // NOLINT(bugprone-reserved-identifier): the ABI's name
    frames::Address registers[frames::Count];
    frames::Address next;  // where it goes on when what it called returns
    frames::Address functionStart;
    frames::Address callSites;  // the function's table of handlers and clean-ups, 0: none
};

namespace frames {

using Context = _Unwind_Context;

struct Rules {
    Address base = 0;             // the frame's base is this register ...
    std::int32_t baseOffset = 0;  // ... plus this
    bool saved[Count + 1] = {};
    std::int32_t savedAt[Count + 1] = {};  // from the base
};

struct Frame {
    Rules rules;
    Address argumentBytes = 0;  // pushed for the call that has not returned
    Address personality = 0;
    bool understood = true;
};

// Finds the description of the function that the frame stands in and fills frame, and the
// context's knowledge of the function. False where there is none: another module's code.
bool Describe(Context& context, Frame& frame);

// From a frame to the one that called it.
void Leave(Context& context, const Frame& frame);

}  // namespace frames
