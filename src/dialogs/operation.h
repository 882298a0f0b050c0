// The operations on a device, and the way that every window carries one out.
#pragma once

#include "text/keys.h"
#include "yat/ft.h"

// One operation of one device class. One without a function is of a kind that no machine supports.
struct Operation {
    int support = 0; // its support code; the operation code is one more
    TextKey notSupported{}, failed{};
    int (*run)(yat_device *device, int code, const char *argument) = nullptr;
};

// What the operations without an argument are run with.
template <int (*call)(yat_device *, int)> int runPlain(yat_device *device, int code, const char *)
{
    return call(device, code);
}

// Asks whether the machine supports the operation and then for the operation, with an argument
// where it takes one. While it runs, the help line says so by this name; what is typed meanwhile
// is dropped. Returns true for success; else an error box has told why not.
//
// detail takes what IfSupport says, for the window's own use.
bool carryOut(const Operation &operation, TextKey name, yat_device *device, const char *argument,
              int *detail);
