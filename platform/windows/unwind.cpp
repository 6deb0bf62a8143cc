// The part of C++ exceptions that walks the stack, in the size of this program. The
// compiler's own brings caches, locks, registration tables and unwinding by force, 26 KB
// in all; here is one thread, one list of frame descriptions and nothing to hurry.
//
// It works as the Itanium C++ ABI and the DWARF standard describe it, for what GCC writes
// for 32-bit Windows: registers saved on the stack, frames found by esp or ebp. Anything
// else counts as the end of the stack, where the program is terminated.
#include <unwind.h>

#include <exception>

#include "platform/windows/frames.h"

namespace {

using frames::Address;
using frames::Context;
using frames::Eax;
using frames::Ebp;
using frames::Ebx;
using frames::Edi;
using frames::Edx;
using frames::Esi;
using frames::Esp;
using frames::Frame;

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
        if (!frames::Describe(context, frame)) {
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
        frames::Leave(context, frame);
    }
}

// The first phase: is there a handler at all? Nothing is touched before that is known.
_Unwind_Reason_Code UnwindRaise(_Unwind_Exception* exception, const Caller* caller) {
    Context context = ContextOf(*caller);
    for (;;) {
        Frame frame;
        if (!frames::Describe(context, frame)) {
            return _URC_END_OF_STACK;
        }
        const _Unwind_Reason_Code code = Ask(frame, _UA_SEARCH_PHASE, exception, context);
        if (code == _URC_HANDLER_FOUND) {
            break;
        }
        if (code != _URC_CONTINUE_UNWIND) {
            return _URC_FATAL_PHASE1_ERROR;
        }
        frames::Leave(context, frame);
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

// The start code tells where the frame descriptions begin; frames.cpp finds them itself.
void __register_frame_info(const void* /*begin*/, void* /*object*/) {}
void* __deregister_frame_info(const void* /*begin*/) {
    return nullptr;
}

}  // extern "C"
