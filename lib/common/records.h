// SPDX-License-Identifier: GPL-2.0-or-later
// Device records, as CreateTreeViewData gives them.
#pragma once

#include "yat/device.h"

#include <array>
#include <string_view>
#include <vector>

namespace yat {

struct DeviceRow {
    int classCode, number;
    std::array<uint8_t, 8> path;
    std::string_view name; // in UTF-8
    int parent;            // its position, -1 for a top-level device
};

// Makes the tree of records of the devices, of which each parent stands before its children. Its
// root is given back with freeTree.
yat_device *makeRecords(const std::vector<DeviceRow> &devices);

// FreeTreeViewData: frees a tree and sets its root to null. Returns 1, or 0 for one that is none of
// makeRecords.
int freeTree(yat_device **root);

} // namespace yat
