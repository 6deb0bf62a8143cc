// Where the system enters the program.
#include "common/modGeneral.h"
#include "main/modMain.h"
#include "platform/forms.h"
#include "platform/startup.h"

int WINAPI WinMain(HINSTANCE, HINSTANCE, LPSTR, int) {
    PrepareProcess();
    SetMemoryAside();
    Main();
    forms::RunMessageLoop();
    HeldScript().Close();
    return 0;
}
