// Where the system enters the program.
#include "common/modGeneral.h"
#include "main/modMain.h"
#include "platform/forms.h"

int WINAPI WinMain(HINSTANCE, HINSTANCE, LPSTR, int) {
    SetMemoryAside();
    Main();
    forms::RunMessageLoop();
    HeldScript().Close();
    return 0;
}
