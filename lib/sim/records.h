// SPDX-License-Identifier: GPL-2.0-or-later
// Device records for a machine.
#pragma once

#include "sim/machine.h"

namespace sim {

// Makes the tree of device records of a machine, to be given back with yat::freeTree.
yat_device *makeRecords(const Machine &machine);

} // namespace sim
