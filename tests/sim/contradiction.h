// SPDX-License-Identifier: GPL-2.0-or-later
// What can't be in a machine, whatever is done to it.
#pragma once

#include "sim/machine.h"

#include <string>

// What contradicts itself, such as one module in duplex; empty when there is nothing.
std::string contradiction(const sim::Machine &machine);

// Whether a pair that ran before has no module that runs.
bool tookPairDown(const sim::Machine &before, const sim::Machine &after);
