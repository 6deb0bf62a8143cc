// What every platform function has in common: the last error code, the faults and the
// record of calls that machine.ini asks for.
#include <csignal>
#include <fstream>
#include <utility>

#include "platform/hosted/machine.h"
#include "platform/hosted/registry/registry.h"

namespace hosted {
namespace {

// The program has one thread.
DWORD lastError = 0;
bool inProgram = false;  // until WinMain

bool Matches(std::string_view pattern, std::string_view text) {
    return pattern == "*" || pattern == text;
}

bool IsRegistry(std::string_view function) {
    return function.starts_with("Reg");
}

// A process ended like this runs nothing more of its own; Windows keeps what its registry was
// told.
void Kill() {
    SaveRegistry();
    static_cast<void>(std::raise(SIGKILL));
}

void WaitUntilLetGo(const std::string& line) {
    const fs::path& folder = Machine::Current().Folder();
    SaveRegistry();  // for those who look meanwhile
    std::ofstream(folder / "stopped") << line << '\n' << std::flush;
    std::ifstream(folder / "go").get();
}

void Vanish(std::string_view function, const std::string& argument) {
    if (IsRegistry(function)) {
        RemoveKey(FromUtf8(argument.substr(0, argument.find_first_of(":|"))));
    } else if (const std::optional<fs::path> host = HostPath(FromUtf8(argument))) {
        std::error_code error;
        fs::remove_all(*host, error);
    }
}

}  // namespace

bool InProgram() {
    return inProgram;
}

Scope::Scope(bool program) : before_(std::exchange(inProgram, program)) {}

Scope::~Scope() {
    inProgram = before_;
}

Call::Call(const char* function, const char* argument, Effect effect)
    : function_(function), argument_(ToUtf8(argument)), effect_(effect) {
    Begin();
}

Call::Call(const char* function, std::string argument, Effect effect)
    : function_(function), argument_(std::move(argument)), effect_(effect) {
    Begin();
}

void Call::Begin() {
    Machine& machine = Machine::Current();
    const std::vector<Fault>& faults = machine.GetSettings().faults;
    machine.faultsMet.resize(faults.size());
    for (std::size_t i = 0; i < faults.size(); ++i) {
        const Fault& fault = faults[i];
        if (Matches(fault.process, machine.Role()) && Matches(fault.function, function_) &&
            Matches(fault.argument, argument_) &&
            (++machine.faultsMet[i] == fault.occurrence || fault.occurrence == 0)) {
            Obey(fault);
        }
    }
    if (code_ != 0) {
        Fail(code_);
    }
}

void Call::Obey(const Fault& fault) {
    using Kind = Fault::Kind;
    code_ = fault.kind == Kind::Code ? fault.code : code_;
    less_ = less_ || fault.kind == Kind::Less;
    killAfter_ = killAfter_ || fault.kind == Kind::KillAfter;
    if (fault.kind == Kind::Gone) {
        Vanish(function_, argument_);
    } else if (fault.kind == Kind::Stop) {
        WaitUntilLetGo(Machine::Current().Role() + " " + function_ + " " + argument_);
        Pass(1000);
    } else if (fault.kind == Kind::KillBefore) {
        Kill();
    }
}

Call::~Call() {
    Machine& machine = Machine::Current();
    if (machine.GetSettings().traceCalls) {
        const std::string name = std::string(function_) + '\t';
        machine.AppendLine("calls.txt", machine.Role() + '\t' + name +
                                            std::to_string(++machine.callsMade[name + argument_]) +
                                            '\t' + std::to_string(result_) +
                                            (effect_ == Changes ? "\tchanges\t" : "\tlooks\t") +
                                            argument_);
    }
    if (killAfter_) {
        Kill();
    }
}

BOOL Call::Done(DWORD code) {
    result_ = code;
    if (code != 0 && !IsRegistry(function_)) {
        SetLastError(code);
    }
    return code == 0 ? TRUE : FALSE;
}

LSTATUS Call::Result(LSTATUS code) {
    result_ = static_cast<DWORD>(code);
    return code;
}

}  // namespace hosted

DWORD WINAPI GetLastError() {
    return hosted::lastError;
}

void WINAPI SetLastError(DWORD code) {
    hosted::lastError = code;
}
