// What every platform function has in common: the last error code, the faults and the
// record of calls that machine.ini asks for.
#include <csignal>
#include <fstream>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "platform/hosted/machine.h"
#include "platform/hosted/registry/registry.h"

namespace hosted {
namespace {

DWORD& LastError() {
    static DWORD code = 0;  // the program has one thread
    return code;
}

// How many calls of the layer are running; without WinMain the program is not.
unsigned& Depth() {
    static unsigned depth = 1;
    return depth;
}

// How many calls each fault has met, and how often each call was made.
struct CallCounts {
    std::vector<unsigned> met;
    std::map<std::string, unsigned> made;
};

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
    std::string word;
    std::ifstream(folder / "go") >> word;
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
    return Depth() == 0;
}

ProgramScope::ProgramScope() : depth_(std::exchange(Depth(), 0)) {}

ProgramScope::~ProgramScope() {
    Depth() = depth_;
}

LayerScope::LayerScope() {
    ++Depth();
}

LayerScope::~LayerScope() {
    --Depth();
}

Call::Call(const char* function, std::string argument, Effect effect)
    : function_(function), argument_(std::move(argument)), effect_(effect) {
    ++Depth();
    Machine& machine = Machine::Current();
    const std::vector<Fault>& faults = machine.GetSettings().faults;
    std::vector<unsigned>& met = machine.Part<CallCounts>().met;
    met.resize(faults.size());
    for (std::size_t i = 0; i < faults.size(); ++i) {
        const Fault& fault = faults[i];
        if (Matches(fault.process, machine.Role()) && Matches(fault.function, function_) &&
            Matches(fault.argument, argument_) &&
            (++met[i] == fault.occurrence || fault.occurrence == 0)) {
            Obey(fault);
        }
    }
    if (code_ != 0 && !IsRegistry(function_)) {
        SetLastError(code_);
    }
}

void Call::Obey(const Fault& fault) {
    switch (fault.kind) {
        case Fault::Kind::Code:
            code_ = fault.code;
            result_ = fault.code;
            break;
        case Fault::Kind::Less:
            less_ = true;
            break;
        case Fault::Kind::Gone:
            Vanish(function_, argument_);
            break;
        case Fault::Kind::Stop:
            WaitUntilLetGo(Machine::Current().Role() + " " + function_ + " " + argument_);
            break;
        case Fault::Kind::KillBefore:
            Kill();
            break;
        case Fault::Kind::KillAfter:
            killAfter_ = true;
            break;
    }
}

Call::~Call() {
    Machine& machine = Machine::Current();
    if (machine.GetSettings().traceCalls) {
        const unsigned made =
            ++machine.Part<CallCounts>().made[std::string(function_) + '\t' + argument_];
        machine.AppendLine("calls.txt", machine.Role() + '\t' + function_ + '\t' +
                                            std::to_string(made) + '\t' + std::to_string(result_) +
                                            (effect_ == Changes ? "\tchanges\t" : "\tlooks\t") +
                                            argument_);
    }
    if (killAfter_) {
        Kill();
    }
    --Depth();
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
