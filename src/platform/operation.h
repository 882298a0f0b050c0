// The operations on a device, and the way that every window carries one out.
#pragma once

#include "text/keys.h"
#include "yat/ft.h"

#include <string>

// One operation of one device class.
struct Operation {
    TextKey name; // the text of the button that asks for it
    int support;  // its support code; the operation code is one more
    TextKey notSupported, failed;
    int (*run)(yat_device *device, int code, const char *argument);
};

// What the operations without an argument are run with.
template <int (*call)(yat_device *, int)>
int runPlain(yat_device *device, int code, const char *)
{
    return call(device, code);
}

// Asks whether the machine supports the operation and then for the operation, with an argument
// where it takes one. While it runs, the help line says so; what is typed meanwhile is dropped.
// Returns true for success; else an error box has told why not.
//
// detail takes what IfSupport says, for the window's own use.
bool carryOut(const Operation &operation, yat_device *device, const char *argument, int *detail);

// The device's name for titles and questions, in the encoding of the locale; "" when it has none.
std::string nameOf(const yat_device *device);

// The device's number within its class, 0 when it is unknown.
int numberOf(const yat_device *device);
