// The part of C++ exceptions that walks the stack, in the size of this program. The
// compiler's own brings caches, locks, registration tables and unwinding by force, 26 KB
// in all; here is one thread, one list of frame descriptions and nothing to hurry.
//
// It works as the Itanium C++ ABI and the DWARF standard describe it, for what GCC writes
// for 32-bit Windows: registers saved on the stack, frames found by esp or ebp. Anything
// else counts as the end of the stack, where the program is terminated.
#include <unwind.h>

#include <cstdint>
#include <cstring>
#include <exception>

namespace {

using Address = std::uintptr_t;
using Bytes = const unsigned char*;

// DWARF's numbers of the registers; the eighth "register" is the return address.
enum Register : unsigned { Eax, Ecx, Edx, Ebx, Esp, Ebp, Esi, Edi, Count };

}  // namespace

// A frame on the stack: what its registers hold, and what is known of its function.
struct _Unwind_Context {  // NOLINT(bugprone-reserved-identifier): the ABI's name
    Address registers[Count];
    Address next;  // where it goes on when what it called returns
    Address functionStart;
    Address callSites;  // the function's table of handlers and clean-ups, 0: none
};

namespace {

using Context = _Unwind_Context;

// ---- reading the frame descriptions --------------------------------------------------

Bytes frameDescriptions = nullptr;  // told by the start-up code

class Reader {
 public:
    explicit Reader(Bytes at) : at_(at) {}
    [[nodiscard]] Bytes At() const { return at_; }
    void Skip(std::size_t bytes) { at_ += bytes; }

    template <typename Number>
    Number Fixed() {
        Number number;
        std::memcpy(&number, at_, sizeof(number));
        at_ += sizeof(number);
        return number;
    }
    std::uint32_t Unsigned() {  // LEB128
        std::uint32_t number = 0;
        for (unsigned shift = 0;; shift += 7) {
            const unsigned char part = *at_++;
            number |= static_cast<std::uint32_t>(part & 0x7FU) << shift;
            if ((part & 0x80U) == 0) {
                return number;
            }
        }
    }
    // An address in the encoding that the description names. Only the two that occur:
    // absolute, and relative to its own place, each also by way of a pointer.
    Address Encoded(unsigned encoding) {
        const auto own = reinterpret_cast<Address>(at_);
        auto address = Fixed<Address>();
        if (address != 0 && (encoding & 0x70U) == 0x10U) {
            address += own;
        }
        if (address != 0 && (encoding & 0x80U) != 0) {
            address = *reinterpret_cast<const Address*>(address);
        }
        return address;
    }

 private:
    Bytes at_;
};

// What the descriptions of several functions have in common.
struct Common {
    Bytes instructions, end;
    std::int32_t dataFactor = 0;
    unsigned addressEncoding = 0, tableEncoding = 0;
    bool hasTable = false;
    Address personality = 0;
};

Common ReadCommon(Bytes record) {
    Reader reader(record);
    Common common{};
    common.end = record + 4 + reader.Fixed<std::uint32_t>();
    reader.Skip(5);  // its kind, its version
    const char* augmentation = reinterpret_cast<const char*>(reader.At());
    reader.Skip(std::strlen(augmentation) + 1);
    reader.Unsigned();  // the code's unit, 1 on this processor
    // One byte of signed LEB128: -4.
    common.dataFactor = static_cast<std::int32_t>(reader.Unsigned() ^ 0x40U) - 0x40;
    reader.Skip(1);  // the column of the return address
    const std::uint32_t size = reader.Unsigned();
    common.instructions = reader.At() + size;
    for (const char* letter = augmentation + 1; *letter != '\0'; ++letter) {
        if (*letter == 'R') {
            common.addressEncoding = reader.Fixed<unsigned char>();
        } else if (*letter == 'L') {
            common.tableEncoding = reader.Fixed<unsigned char>();
            common.hasTable = true;
        } else if (*letter == 'P') {
            const unsigned encoding = reader.Fixed<unsigned char>();
            common.personality = reader.Encoded(encoding);
        }
    }
    return common;
}

// ---- the state of a function's frame at one place -------------------------------------

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

// Carries out the instructions up to the place that the frame stands at.
class Interpreter {
 public:
    Interpreter(Frame& frame, std::int32_t factor) : frame_(frame), factor_(factor) {}

    void Run(Bytes from, Bytes end, Address start, Address place) {
        Reader reader(from);
        Address at = start;
        while (reader.At() < end && at <= place && frame_.understood) {
            const unsigned code = reader.Fixed<unsigned char>();
            const unsigned low = code & 0x3FU;
            switch (code >> 6) {
                case 1:  // advance_loc
                    at += low;
                    break;
                case 2:  // offset
                    Save(low, static_cast<std::int32_t>(reader.Unsigned()) * factor_);
                    break;
                case 3:  // restore
                    Restore(low);
                    break;
                default:
                    at += Extended(low, reader);
                    break;
            }
        }
    }

 private:
    // Returns by how much the place advances.
    Address Extended(unsigned code, Reader& reader) {
        Rules& rules = frame_.rules;
        switch (code) {
            case 0x00:  // nop
                return 0;
            case 0x02:  // advance_loc1
                return reader.Fixed<std::uint8_t>();
            case 0x03:  // advance_loc2
                return reader.Fixed<std::uint16_t>();
            case 0x04:  // advance_loc4
                return reader.Fixed<std::uint32_t>();
            case 0x0A:  // remember_state
                frame_.understood = depth_ < kDepth;
                if (frame_.understood) {
                    remembered_[depth_++] = rules;
                }
                return 0;
            case 0x0B:  // restore_state
                frame_.understood = depth_ > 0;
                if (frame_.understood) {
                    rules = remembered_[--depth_];
                }
                return 0;
            case 0x0C:  // def_cfa
                rules.base = reader.Unsigned();
                rules.baseOffset = static_cast<std::int32_t>(reader.Unsigned());
                return 0;
            case 0x0D:  // def_cfa_register
                rules.base = reader.Unsigned();
                return 0;
            case 0x0E:  // def_cfa_offset
                rules.baseOffset = static_cast<std::int32_t>(reader.Unsigned());
                return 0;
            case 0x2E:  // GNU_args_size
                frame_.argumentBytes = reader.Unsigned();
                return 0;
            default:
                frame_.understood = false;
                return 0;
        }
    }
    void Save(unsigned number, std::int32_t offset) {
        frame_.understood = number <= Count;
        if (frame_.understood) {
            frame_.rules.saved[number] = true;
            frame_.rules.savedAt[number] = offset;
        }
    }
    void Restore(unsigned number) {
        frame_.understood = number < Count;
        if (frame_.understood) {
            frame_.rules.saved[number] = false;
        }
    }

    static constexpr unsigned kDepth = 4;
    Frame& frame_;
    std::int32_t factor_;
    Rules remembered_[kDepth];
    unsigned depth_ = 0;
};

// Finds the description of the function that the frame stands in and fills frame, and the
// context's knowledge of the function. False where there is none: another module's code.
bool Describe(Context& context, Frame& frame) {
    const Address place = context.next - 1;  // within the call that has not returned
    for (Bytes record = frameDescriptions; record != nullptr;) {
        Reader reader(record);
        const auto length = reader.Fixed<std::uint32_t>();
        if (length == 0) {
            return false;
        }
        const Bytes end = reader.At() + length;
        const Bytes own = reader.At();
        const auto distance = reader.Fixed<std::uint32_t>();
        record = end;
        if (distance == 0) {
            continue;  // common to several functions
        }
        const Common common = ReadCommon(own - distance);
        const Address start = reader.Encoded(common.addressEncoding);
        const auto size = reader.Fixed<Address>();
        if (place - start >= size) {
            continue;
        }
        const std::uint32_t augmentation = reader.Unsigned();
        const Bytes instructions = reader.At() + augmentation;
        context.functionStart = start;
        context.callSites = common.hasTable ? reader.Encoded(common.tableEncoding) : 0;
        frame.personality = common.personality;
        Interpreter interpreter(frame, common.dataFactor);
        interpreter.Run(common.instructions, common.end, start, start);
        interpreter.Run(instructions, end, start, place);
        return frame.understood && frame.rules.base < Count;
    }
    return false;
}

// From a frame to the one that called it.
void Leave(Context& context, const Frame& frame) {
    const Rules& rules = frame.rules;
    const Address base = context.registers[rules.base] + static_cast<Address>(rules.baseOffset);
    const auto stored = [&](unsigned number) {
        return *reinterpret_cast<const Address*>(base +
                                                 static_cast<Address>(rules.savedAt[number]));
    };
    for (unsigned number = 0; number < Count; ++number) {
        if (rules.saved[number]) {
            context.registers[number] = stored(number);
        }
    }
    context.next = stored(Count);
    context.registers[Esp] = base;
}

// ---- going to a handler -----------------------------------------------------------------

struct Landing {
    Address ebx, esi, edi, ebp, eax, edx, esp;
};

// Loads the registers and returns to the address on top of the new stack.
[[gnu::naked, noreturn]] void Land(const Landing* /*landing*/) {
    __asm__(
        "movl 4(%esp), %ecx\n\t"
        "movl (%ecx), %ebx\n\t"
        "movl 4(%ecx), %esi\n\t"
        "movl 8(%ecx), %edi\n\t"
        "movl 12(%ecx), %ebp\n\t"
        "movl 16(%ecx), %eax\n\t"
        "movl 20(%ecx), %edx\n\t"
        "movl 24(%ecx), %esp\n\t"
        "ret");
}

[[noreturn]] void Install(const Context& context, const Frame& frame) {
    const Address* registers = context.registers;
    // The slot below the handler's stack held the return address of what it had called.
    const Address top = registers[Esp] + frame.argumentBytes - sizeof(Address);
    *reinterpret_cast<Address*>(top) = context.next;
    const Landing landing{registers[Ebx],
                          registers[Esi],
                          registers[Edi],
                          registers[Ebp],
                          registers[Eax],
                          registers[Edx],
                          top};
    Land(&landing);
}

_Unwind_Reason_Code Ask(const Frame& frame, _Unwind_Action actions, _Unwind_Exception* exception,
                        Context& context) {
    if (frame.personality == 0) {
        return _URC_CONTINUE_UNWIND;
    }
    const auto personality = reinterpret_cast<_Unwind_Personality_Fn>(frame.personality);
    return personality(1, actions, exception->exception_class, exception, &context);
}

// What the entries below hand over: the registers of their caller.
struct Caller {
    Address ebx, esi, edi, ebp, esp, next;
};

Context ContextOf(const Caller& caller) {
    Context context{};
    context.registers[Ebx] = caller.ebx;
    context.registers[Esi] = caller.esi;
    context.registers[Edi] = caller.edi;
    context.registers[Ebp] = caller.ebp;
    context.registers[Esp] = caller.esp;
    context.next = caller.next;
    return context;
}

}  // namespace

extern "C" {

// The second phase: every clean-up on the way, then the handler, known by its stack.
_Unwind_Reason_Code UnwindToHandler(_Unwind_Exception* exception, const Caller* caller) {
    Context context = ContextOf(*caller);
    for (;;) {
        Frame frame;
        if (!Describe(context, frame)) {
            return _URC_FATAL_PHASE2_ERROR;
        }
        const bool handler = context.registers[Esp] == exception->private_2;
        const _Unwind_Action actions = _UA_CLEANUP_PHASE | (handler ? _UA_HANDLER_FRAME : 0);
        switch (Ask(frame, actions, exception, context)) {
            case _URC_INSTALL_CONTEXT:
                Install(context, frame);
            case _URC_CONTINUE_UNWIND:
                break;
            default:
                return _URC_FATAL_PHASE2_ERROR;
        }
        Leave(context, frame);
    }
}

// The first phase: is there a handler at all? Nothing is touched before that is known.
_Unwind_Reason_Code UnwindRaise(_Unwind_Exception* exception, const Caller* caller) {
    Context context = ContextOf(*caller);
    for (;;) {
        Frame frame;
        if (!Describe(context, frame)) {
            return _URC_END_OF_STACK;
        }
        const _Unwind_Reason_Code code = Ask(frame, _UA_SEARCH_PHASE, exception, context);
        if (code == _URC_HANDLER_FOUND) {
            break;
        }
        if (code != _URC_CONTINUE_UNWIND) {
            return _URC_FATAL_PHASE1_ERROR;
        }
        Leave(context, frame);
    }
    exception->private_1 = 0;
    exception->private_2 = context.registers[Esp];
    return UnwindToHandler(exception, caller);
}

// From the end of a clean-up, which has no one to return to.
void UnwindResume(_Unwind_Exception* exception, const Caller* caller) {
    UnwindToHandler(exception, caller);
    std::terminate();
}

// The entries store their caller's registers as a Caller on the stack.
#define ENTRY(function)          \
    __asm__(                     \
        "movl 4(%esp), %edx\n\t" \
        "pushl (%esp)\n\t"       \
        "leal 8(%esp), %eax\n\t" \
        "pushl %eax\n\t"         \
        "pushl %ebp\n\t"         \
        "pushl %edi\n\t"         \
        "pushl %esi\n\t"         \
        "pushl %ebx\n\t"         \
        "movl %esp, %eax\n\t"    \
        "pushl %eax\n\t"         \
        "pushl %edx\n\t"         \
        "call _" function        \
        "\n\t"                   \
        "addl $32, %esp\n\t"     \
        "ret")

[[gnu::naked]] _Unwind_Reason_Code _Unwind_RaiseException(_Unwind_Exception* /*exception*/) {
    ENTRY("UnwindRaise");
}

[[gnu::naked]] _Unwind_Reason_Code _Unwind_Resume_or_Rethrow(_Unwind_Exception* /*exception*/) {
    ENTRY("UnwindRaise");
}

[[gnu::naked]] void _Unwind_Resume(_Unwind_Exception* /*exception*/) {
    ENTRY("UnwindResume");
}

void _Unwind_DeleteException(_Unwind_Exception* exception) {
    if (exception->exception_cleanup != nullptr) {
        exception->exception_cleanup(_URC_FOREIGN_EXCEPTION_CAUGHT, exception);
    }
}

_Unwind_Word _Unwind_GetGR(_Unwind_Context* context, int number) {
    return context->registers[number];
}
void _Unwind_SetGR(_Unwind_Context* context, int number, _Unwind_Word value) {
    context->registers[number] = value;
}
_Unwind_Ptr _Unwind_GetIP(_Unwind_Context* context) {
    return context->next;
}
_Unwind_Ptr _Unwind_GetIPInfo(_Unwind_Context* context, int* beforeInstruction) {
    *beforeInstruction = 0;
    return context->next;
}
void _Unwind_SetIP(_Unwind_Context* context, _Unwind_Ptr value) {
    context->next = value;
}
void* _Unwind_GetLanguageSpecificData(_Unwind_Context* context) {
    return reinterpret_cast<void*>(context->callSites);
}
_Unwind_Ptr _Unwind_GetRegionStart(_Unwind_Context* context) {
    return context->functionStart;
}
// Bases of encodings that this platform does not use.
_Unwind_Ptr _Unwind_GetDataRelBase(_Unwind_Context* /*context*/) {
    return 0;
}
_Unwind_Ptr _Unwind_GetTextRelBase(_Unwind_Context* /*context*/) {
    return 0;
}

// The start-up code's way to tell where the frame descriptions of the program begin.
void __register_frame_info(const void* begin, void* /*object*/) {
    frameDescriptions = static_cast<Bytes>(begin);
}
void* __deregister_frame_info(const void* /*begin*/) {
    return nullptr;
}

}  // extern "C"
