// The firmware of the baseboard management controller, by itself.
#include "shell/entry.h"
#include "system/windows.h"
#include "yat/winshim.h"

#include <cstdio>

int runProgram()
{
    if (!debug_flag) {
        Firmware();
        return 1;
    }
    char revision[6];
    if (Get_BMC_FWRevision(revision) == 0) {
        fprintf(stderr, "the firmware revision cannot be read; the trace log says why\n");
        return 0;
    }
    printf("%s\n", revision);
    return 1;
}
