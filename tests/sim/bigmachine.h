// SPDX-License-Identifier: GPL-2.0-or-later
// A machine of as many devices as wanted, for what must not grow with them.
#pragma once

#include "sim/machine.h"

// PCI modules with nine adapters each, the last one with fewer, in pairs that run.
sim::Machine bigMachine(int devices);
