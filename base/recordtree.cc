// SPDX-License-Identifier: GPL-2.0-or-later
#include "base/recordtree.h"

namespace {

constexpr int mostLevels = 64;        // eight have a place in a device's path
constexpr int mostVisits = 1'000'000; // where records share others, those count each time

bool endWithin(const yat_device *record, int levels, int &visits)
{
    if (!record || !record->children)
        return true;
    for (int i = 0; i < record->NextDevNum; ++i)
        if (levels == 0 || visits-- == 0 || !endWithin(record->children[i], levels - 1, visits))
            return false;
    return true;
}

} // namespace

bool haveEnd(const yat_device *root)
{
    int visits = mostVisits;
    return endWithin(root, mostLevels, visits);
}
