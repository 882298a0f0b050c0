// SPDX-License-Identifier: GPL-2.0-or-later
// Counts of hardware errors.
#pragma once

#include <cstdint>

namespace host {

struct Counts {
    bool isKnown = false; // the machine counts them
    uint64_t corrected = 0, uncorrected = 0;
    bool operator==(const Counts &) const = default;
};

inline Counts &operator+=(Counts &sum, const Counts &more)
{
    sum.isKnown = sum.isKnown || more.isKnown;
    sum.corrected += more.corrected;
    sum.uncorrected += more.uncorrected;
    return sum;
}

// What has been counted since a baseline. A counter below its baseline went back to 0 since.
inline Counts since(const Counts &baseline, Counts now)
{
    if (now.corrected >= baseline.corrected)
        now.corrected -= baseline.corrected;
    if (now.uncorrected >= baseline.uncorrected)
        now.uncorrected -= baseline.uncorrected;
    return now;
}

} // namespace host
