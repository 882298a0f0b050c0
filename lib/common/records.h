// Device records, as CreateTreeViewData gives them.
#pragma once

#include "yat/device.h"

#include <string_view>
#include <vector>

namespace yat {

struct DeviceRow {
    yat_identity identity;
    std::string_view name; // in UTF-8
    int parent;            // its position, -1 for a top-level device
};

// Makes the tree of records of the devices, of which each parent stands before its children. Its
// root is given back with freeRecords.
yat_device *makeRecords(const std::vector<DeviceRow> &devices);

// Frees a tree; false when the root is none of makeRecords.
bool freeRecords(yat_device *root);

} // namespace yat
