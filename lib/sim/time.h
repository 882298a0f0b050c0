// SPDX-License-Identifier: GPL-2.0-or-later
// Time as the simulated machine counts it.
#pragma once

#include <cstdint>

namespace sim {

using Time = int64_t; // microseconds; of a moment: since 1970 in UTC

constexpr Time second = 1'000'000;
constexpr Time hour = 3600 * second;
constexpr Time lastMoment = 253'402'300'799 * second; // the end of the year 9999

} // namespace sim
