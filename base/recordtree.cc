// SPDX-License-Identifier: GPL-2.0-or-later
#include "base/recordtree.h"

namespace {

constexpr int mostLevels = 64; // eight have a place in a device's path

bool endWithin(const yat_device *record, int levels)
{
    if (!record || !record->children)
        return true;
    for (int i = 0; i < record->NextDevNum; ++i)
        if (levels == 0 || !endWithin(record->children[i], levels - 1))
            return false;
    return true;
}

} // namespace

bool haveEnd(const yat_device *root)
{
    return endWithin(root, mostLevels);
}
