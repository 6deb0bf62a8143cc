// What every platform function has in common: the last error code, the faults and the
// record of calls that machine.ini asks for.
#include <csignal>
#include <string>
#include <unordered_map>

#include "platform/hosted/machine.h"

namespace hosted {
namespace {

DWORD& LastError() {
    static DWORD code = 0;  // the program has one thread
    return code;
}

struct CallCounts {
    std::unordered_map<std::string_view, unsigned> ofFunction;
    unsigned all = 0;
};

bool Matches(std::string_view pattern, std::string_view text) {
    return pattern == "*" || pattern == text;
}

bool IsRegistry(std::string_view function) {
    return function.starts_with("Reg");
}

// A process ended like this runs nothing more of its own, as when the power goes.
void Kill() {
    static_cast<void>(std::raise(SIGKILL));
}

}  // namespace

Call::Call(const char* function, Effect effect) : function_(function), effect_(effect) {
    Machine& machine = Machine::Current();
    const Settings& settings = machine.GetSettings();
    if (settings.faults.empty() && !settings.traceCalls) {
        return;
    }
    auto& counts = machine.Part<CallCounts>();
    number_ = ++counts.ofFunction[function];
    ++counts.all;
    for (const Fault& fault : settings.faults) {
        const unsigned number = fault.function == "*" ? counts.all : number_;
        if (!Matches(fault.process, machine.Role()) || !Matches(fault.function, function) ||
            (fault.call != 0 && fault.call != number)) {
            continue;
        }
        if (fault.killBefore || fault.killAfter) {
            if (fault.killBefore && effect == Changes) {
                Kill();
            }
            killAfter_ = killAfter_ || (fault.killAfter && effect == Changes);
            continue;
        }
        code_ = fault.code;
        result_ = fault.code;
    }
    if (code_ != 0 && !IsRegistry(function)) {
        SetLastError(code_);
    }
}

Call::~Call() {
    Machine& machine = Machine::Current();
    if (machine.GetSettings().traceCalls) {
        machine.AppendLine("calls.txt", machine.Role() + " " + function_ + " " +
                                            std::to_string(number_) + " " +
                                            std::to_string(result_) +
                                            (effect_ == Changes ? " changes" : " looks"));
    }
    if (killAfter_) {
        Kill();
    }
}

BOOL Call::Fail(DWORD code) {
    result_ = code;
    if (!IsRegistry(function_)) {
        SetLastError(code);
    }
    return FALSE;
}

LSTATUS Call::Result(LSTATUS code) {
    result_ = static_cast<DWORD>(code);
    return code;
}

}  // namespace hosted

DWORD WINAPI GetLastError() {
    return hosted::LastError();
}

void WINAPI SetLastError(DWORD code) {
    hosted::LastError() = code;
}
