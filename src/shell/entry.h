// What a program does with the screen; each program defines its own.
#pragma once

// Returns 1, or 0 on failure.
int runProgram();
