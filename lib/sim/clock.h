// SPDX-License-Identifier: GPL-2.0-or-later
// The machine's clock. The process that looked at it last sets its pace. It never runs backwards,
// whatever the processes want and whatever happens to the system's clock.
#pragma once

#include "sim/terms.h"

namespace sim {

// What the machine's clock showed at a moment of real time, and how fast it has run since.
struct Clock {
    Time simulated = 0, real = 0;
    double scale = 1;
    bool operator==(const Clock &) const = default;
};

constexpr int fastest = 1'000'000;

// What the clock shows at a moment of real time.
Time simulatedTime(const Clock &clock, Time real);

Time realTime(); // by the system's clock

// The pace that the environment wants (YAT_TIME_SCALE: 1 is real time and the default, 0 stands
// still). Throws yat::Problem when that is none.
double wantedScale();

} // namespace sim
