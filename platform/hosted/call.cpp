// The last error code, the faults and the record of calls that machine.ini asks for.
#include "platform/hosted/call.h"

#include <csignal>
#include <fstream>
#include <utility>

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
    const fs::path& folder = Sandbox::Current().Folder();
    SaveRegistry();  // for those who look meanwhile
    std::ofstream(folder / "stopped") << line << '\n' << std::flush;
    std::ifstream(folder / "go").get();
    Pass(1000);
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

Call::Call(const char* function, std::string_view argument, Effect effect)
    : function_(function), argument_(ToUtf8(argument)), effect_(effect) {
    Sandbox& sandbox = Sandbox::Current();
    const std::vector<Fault>& faults = sandbox.GetSettings().faults;
    sandbox.faultsMet.resize(faults.size());
    for (std::size_t i = 0; i < faults.size(); ++i) {
        const Fault& fault = faults[i];
        if (Matches(fault.process, sandbox.Role()) && Matches(fault.function, function_) &&
            Matches(fault.argument, argument_) &&
            (++sandbox.faultsMet[i] == fault.occurrence || fault.occurrence == 0)) {
            Obey(fault);
        }
    }
}

void Call::Obey(const Fault& fault) {
    using Kind = Fault::Kind;
    result_ = fault.kind == Kind::Code ? fault.code : result_;
    less_ = less_ || fault.kind == Kind::Less;
    killAfter_ = killAfter_ || fault.kind == Kind::KillAfter;
    if (fault.kind == Kind::Gone) {
        Vanish(function_, argument_);
    } else if (fault.kind == Kind::Stop) {
        WaitUntilLetGo(Sandbox::Current().Role() + " " + function_ + " " + argument_);
    } else if (fault.kind == Kind::KillBefore) {
        Kill();
    }
}

BOOL Call::End() const {
    if (result_ != 0 && !IsRegistry(function_)) {
        lastError = result_;
    }
    return result_ == 0 ? TRUE : FALSE;
}

Call::~Call() {
    Sandbox& sandbox = Sandbox::Current();
    if (sandbox.GetSettings().traceCalls) {
        const std::string name = std::string(function_) + '\t';
        sandbox.AppendLine("calls.txt", sandbox.Role() + '\t' + name +
                                            std::to_string(++sandbox.callsMade[name + argument_]) +
                                            '\t' + std::to_string(result_) +
                                            (effect_ == Changes ? "\tchanges\t" : "\tlooks\t") +
                                            argument_);
    }
    if (killAfter_) {
        Kill();
    }
}

}  // namespace hosted

DWORD WINAPI GetLastError() {
    return hosted::lastError;
}

void WINAPI SetLastError(DWORD code) {
    hosted::lastError = code;
}
