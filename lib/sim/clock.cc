// SPDX-License-Identifier: GPL-2.0-or-later
#include "sim/clock.h"

#include "common/numbers.h"
#include "common/problem.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdlib>

namespace sim {
Time simulatedTime(const Clock &clock, Time real)
{
    const double passed = static_cast<double>(std::max<Time>(real - clock.real, 0)) * clock.scale;
    if (passed >= static_cast<double>(lastMoment - clock.simulated))
        return std::max(clock.simulated, lastMoment);
    return clock.simulated + std::llround(passed);
}

Time realTime()
{
    using namespace std::chrono;
    return duration_cast<microseconds>(system_clock::now().time_since_epoch()).count();
}

double wantedScale()
{
    const char *wanted = secure_getenv("YAT_TIME_SCALE");
    if (!wanted || !*wanted)
        return 1;
    const auto scale = yat::numberIn<double>(wanted);
    if (!scale || !(*scale >= 0 && *scale <= fastest))
        throw yat::Problem("wrong value '" + std::string(wanted)
                           + "' for YAT_TIME_SCALE, expected a number from 0 to "
                           + std::to_string(fastest));
    return *scale;
}

} // namespace sim
