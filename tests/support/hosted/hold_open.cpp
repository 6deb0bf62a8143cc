// hold-open MACHINE PATH MILLISECONDS: opens a file of the machine so that nobody can
// write or delete it, says so on stderr, and closes it after that time.
#include <chrono>
#include <iostream>
#include <thread>

#include "platform/handles.h"
#include "platform/hosted/machine.h"

int main(int count, char** arguments) {
    if (count != 4) {
        return 2;
    }
    hosted::Machine::Use(arguments[1]);
    const handles::File file(CreateFileA(hosted::FromUtf8(arguments[2]).c_str(), GENERIC_READ,
                                         FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr));
    std::cerr << (file ? "open\n" : "not open\n");
    // The clock of the machine may be a virtual one.
    std::this_thread::sleep_for(std::chrono::milliseconds(std::stoul(arguments[3])));
    return file ? 0 : 1;
}
