// How a device gets from one state into another, and what becomes of its partner then. For the
// course of time and for the operations.
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

// The same, if automatic start is on, the module is stopped, and it can start.
void startIfAutomatic(Machine &machine, Device &module);

// Ends a firmware update, whether it was done or not.
void endFirmwareUpdate(Device &module);

// Takes a module out of whatever it is doing, which may leave an invalid BIOS behind.
void interrupt(Machine &machine, Device &module, State next);

// What the partner does when this module no longer runs, or no longer will.
void leavePartnerAlone(Machine &machine, const Device &module);

} // namespace sim
