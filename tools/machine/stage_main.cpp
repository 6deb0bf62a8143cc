// stage-machine FOLDER STAGE PROGRAM: makes the staged machine in FOLDER from the data in
// STAGE, with PROGRAM as the uninstaller in the program folder.
#include <exception>
#include <iostream>

#include "tests/support/hosted/folder.h"

int main(int count, char** arguments) {
    if (count != 4) {
        std::cerr << "usage: stage-machine FOLDER STAGE PROGRAM\n";
        return 2;
    }
    try {
        support::MachineFolder(arguments[1]).Stage(arguments[2], arguments[3]);
        return 0;
    } catch (const std::exception& error) {
        std::cerr << "stage-machine: " << error.what() << '\n';
        return 2;
    }
}
