// What becomes of a machine in the course of time, when nobody does anything to it.
#pragma once

#include "sim/machine.h"

namespace sim {

// Lets the time pass: everything that is due until then happens, in its order. A time before
// machine.now changes nothing.
void advance(Machine &machine, Time until);

// Whether anything but the time changes then.
bool isAnythingDue(const Machine &machine, Time until);

} // namespace sim
