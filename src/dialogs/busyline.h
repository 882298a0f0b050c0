// The help line while an operation runs.
#pragma once

#include <slang.h>
#include <vector>

// What the bottom row of the screen showed before, a window's part of it included.
struct BusyLine {
    std::vector<SLsmg_Char_Type> covered;
};

// Says on the help line what is being done to which device.
BusyLine showBusyLine(const char *device, const char *operation);

// Makes the bottom row what it was, and drops what was typed since.
void hideBusyLine(const BusyLine &busy);
