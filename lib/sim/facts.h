// SPDX-License-Identifier: GPL-2.0-or-later
// What the calls of yat/facts.h tell of a device.
#pragma once

#include "sim/machine.h"
#include "yat/facts.h"

namespace sim {

yat_facts factsOf(const Machine &machine, const Device &device);

} // namespace sim
