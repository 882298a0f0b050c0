// What time alone does to a machine.
#pragma once

#include "sim/machine.h"

namespace sim {

// Lets time pass: everything that is due until then happens, in order. A time before machine.now
// changes nothing.
void advance(Machine &machine, Time until);

// Whether anything but the time would change.
bool isAnythingDue(const Machine &machine, Time until);

} // namespace sim
