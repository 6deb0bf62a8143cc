// Where the system enters the program.
#include "main/modMain.h"
#include "platform/forms.h"
#include "platform/startup.h"

int WINAPI WinMain(HINSTANCE, HINSTANCE, LPSTR arguments, int) {
    PrepareProcess();
    RelaunchedCopy copy;  // its window outlives Main
    Main(arguments, copy);
    forms::RunMessageLoop();
    return 0;
}
