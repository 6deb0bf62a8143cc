// Where the system enters the program.
#include "main/modMain.h"
#include "platform/forms.h"

int WINAPI WinMain(HINSTANCE, HINSTANCE, LPSTR, int) {
    Main();
    forms::RunMessageLoop();
    return 0;
}
