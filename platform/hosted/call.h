// What every platform function has in common: it is recorded, it can be made to fail, and its
// failure becomes the last error code.
#pragma once

#include <string>
#include <string_view>

#include "platform/hosted/sandbox.h"

namespace hosted {

// Whether the program itself is running, not this layer on its behalf: only then is its
// memory counted.
bool InProgram();
class Scope {
 public:
    explicit Scope(bool inProgram);
    ~Scope();
    Scope(const Scope&) = delete;
    Scope& operator=(const Scope&) = delete;

 private:
    bool before_;
};
// While the layer runs code of the program: WinMain, an event of a form.
struct ProgramScope : Scope {
    ProgramScope() : Scope(true) {}
};
// While the layer runs outside of a Call.
struct LayerScope : Scope {
    LayerScope() : Scope(false) {}
};

// Every platform function starts with one of these, named with its argument as it came from the
// program. A line of calls.txt: process, function, occurrence among the calls of that function
// with that argument, result, "changes" or "looks", argument, with tabs between them.
//
// A process that is to stop writes a line to the named pipe "stopped" of the sandbox's
// folder and goes on when something comes from the pipe "go"; who stops it makes both. A second
// has passed then.
//
// What is made before it, arguments of its own included, is made in the program's name: it
// counts as the program's memory unless a LayerScope is open.
//
//     Call call("DeleteFileA", path, Call::Changes);
//     return call.Run([&] { return DeletePlace(path); });
class Call {
 public:
    enum Effect { Looks, Changes };
    explicit Call(const char* function, std::string_view argument = {}, Effect effect = Looks);
    ~Call();
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;

    // Does the work, which gives a Win32 code, unless a fault says how the call ends. TRUE for
    // success. A failure is the last error code afterwards, unless it is a registry call.
    template <typename Work>
    BOOL Run(Work work) {
        result_ = result_ == 0 ? static_cast<DWORD>(work()) : result_;
        return End();
    }
    // Where there is nothing to do that could fail.
    BOOL Run() { return End(); }
    // The code with which it ended.
    [[nodiscard]] DWORD Result() const { return result_; }
    // It is to succeed with less: one byte fewer, a buffer that has become too small.
    [[nodiscard]] bool Less() const { return less_; }

 private:
    void Obey(const Fault& fault);
    BOOL End() const;

    LayerScope layer_;  // first: what follows is not the program's
    const char* function_;
    std::string argument_;  // UTF-8
    Effect effect_;
    bool less_ = false;
    bool killAfter_ = false;
    DWORD result_ = 0;  // before Run: what a fault wants it to be
};

}  // namespace hosted
