// What machine.ini says: the computer's folders, its user, its clock, and what goes wrong on it.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "platform/hosted/win32.h"

namespace hosted {

// What happens to a call. A call is named by process, function, occurrence and argument:
//
//     [faults]
//     copy RegDeleteKeyA 1 HKEY_LOCAL_MACHINE\Software\Verlonix\Tessorin=5
//     first CopyFileA * *=112
//
// The argument is the path, the key, "KEY:right" where one is opened, "KEY|name" of a value,
// the first line of a message box; "*" stands for any, as it does for process and function.
// Occurrences are counted among the calls that this line names; "*" is every one.
struct Fault {
    enum class Kind {
        Code,        // a number: it fails with that code
        Less,        // "less": it succeeds with less than was asked for (Call::Less)
        Gone,        // "gone": what the argument names disappears right before
        Stop,        // "stop": the process waits right before until it is let go (Call)
        KillBefore,  // "kill-before", "kill-after": the process is killed
        KillAfter,
    };
    std::string process;      // "first", "script", "copy" or "*"
    std::string function;     // or "*"
    std::string argument;     // UTF-8, or "*"
    unsigned occurrence = 0;  // 1 is the first; 0 is every one
    Kind kind = Kind::Code;
    DWORD code = 0;
};

struct Settings {
    // [folders]  temp, system, windows, common-programs, programs; a folder that is not
    // there is unavailable and its query fails. Windows-1252.
    std::map<std::string, std::string> folders;
    std::string user;        // [user] sid=S-1-5-21-...: HKEY_CURRENT_USER is HKEY_USERS\sid; UTF-8
    bool realClock = false;  // [clock] real=1: Sleep waits; otherwise it moves the clock
    DWORD clockStart = 0;    // [clock] start=4294967200: first tick count of each process
    std::vector<Fault> faults;
    bool traceCalls = false;  // [trace] calls=1
};

// The settings in the text of a machine.ini (UTF-8). Throws regtext::Damage.
Settings ReadSettings(const std::string& text);

}  // namespace hosted
