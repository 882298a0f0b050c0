// Device records for a description.
#pragma once

#include "sim/description.h"
#include "yat/device.h"

namespace sim {

// Makes the tree of device records of a machine. Its root is given back with freeRecords.
yat_device *makeRecords(const Description &machine);

// Frees a tree; false when the root is none of makeRecords.
bool freeRecords(yat_device *root);

} // namespace sim
