#include "shell/entry.h"
#include "shell/mrvmain.h"

int runProgram()
{
    return EditParameter();
}
