// SPDX-License-Identifier: GPL-2.0-or-later
// How a device gets from one state into another, and what becomes of its partner then: by the
// operations, and in the course of time.
#pragma once

#include "sim/machine.h"

namespace sim {

// All that changes a device's state goes through here: the state begins now.
void enter(Machine &machine, Device &device, State state);

void countFailure(const Machine &machine, Device &device);

// The running module whose BIOS this one can take, null when there is none.
const Device *biosSource(const Machine &machine, const Device &device);

// Whether a module has a valid BIOS, or gets one when it starts; without, it can't.
bool canStart(const Machine &machine, const Device &module);

// Starts a module, by a firmware update if it needs one.
void start(Machine &machine, Device &module);

// The same for one that is stopped, if automatic start is on and it can start.
void startIfAutomatic(Machine &machine, Device &module);

// Takes a module out of whatever it is doing, which may leave an invalid BIOS behind.
void interrupt(Machine &machine, Device &module, State next);

// What the partner does when this module no longer runs, or no longer will.
void leavePartnerAlone(Machine &machine, const Device &module);

// Lets time pass: everything that is due until then happens, in order. A time before machine.now
// changes nothing.
void advance(Machine &machine, Time until);

// Whether anything but the time would change.
bool isAnythingDue(const Machine &machine, Time until);

} // namespace sim
