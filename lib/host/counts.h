// SPDX-License-Identifier: GPL-2.0-or-later
// Counts of hardware errors.
#pragma once

#include <algorithm>
#include <cstdint>

namespace host {

constexpr uint64_t mostErrors = INT64_MAX; // that can be told; sums end there

constexpr uint64_t sumOfErrors(uint64_t one, uint64_t other)
{
    return std::min(std::min(one, mostErrors) + std::min(other, mostErrors), mostErrors);
}

struct Counts {
    bool isKnown = false; // the machine counts them
    uint64_t corrected = 0, uncorrected = 0;
    bool operator==(const Counts &) const = default;
};

inline Counts &operator+=(Counts &sum, const Counts &more)
{
    sum.isKnown = sum.isKnown || more.isKnown;
    sum.corrected = sumOfErrors(sum.corrected, more.corrected);
    sum.uncorrected = sumOfErrors(sum.uncorrected, more.uncorrected);
    return sum;
}

// The baseline with 0 for each counter that is below it: that one went back to 0 since.
inline Counts zeroedWhereReset(Counts baseline, const Counts &now)
{
    if (now.corrected < baseline.corrected)
        baseline.corrected = 0;
    if (now.uncorrected < baseline.uncorrected)
        baseline.uncorrected = 0;
    return baseline;
}

// What has been counted since a baseline that is not above it.
inline Counts since(const Counts &baseline, Counts now)
{
    now.corrected -= baseline.corrected;
    now.uncorrected -= baseline.uncorrected;
    return now;
}

} // namespace host
