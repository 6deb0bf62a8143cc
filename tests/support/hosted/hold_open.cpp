// hold-open MACHINE PATH: opens a file of the machine so that nobody can write or delete it,
// says so on stdout, and holds it until its stdin ends.
#include <iostream>

#include "platform/handles.h"
#include "platform/hosted/machine.h"

int main(int count, char** arguments) {
    if (count != 3) {
        return 2;
    }
    hosted::Machine::Use(arguments[1]);
    const handles::File file(CreateFileA(hosted::FromUtf8(arguments[2]).c_str(), GENERIC_READ,
                                         FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr));
    std::cout << (file ? "open" : "not open") << std::endl;
    std::string end;
    std::getline(std::cin, end);
    return file ? 0 : 1;
}
