// Device records for a machine.
#pragma once

#include "sim/machine.h"

namespace sim {

// Makes the tree of device records of a machine. Its root is given back with freeRecords.
yat_device *makeRecords(const Machine &machine);

// Frees a tree; false when the root is none of makeRecords.
bool freeRecords(yat_device *root);

} // namespace sim
