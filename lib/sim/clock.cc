#include "sim/clock.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <ctime>

namespace sim {

Time simulatedTime(const Clock &clock, Time real)
{
    const double passed = static_cast<double>(std::max<Time>(real - clock.real, 0)) * clock.scale;
    if (passed >= static_cast<double>(lastMoment - clock.simulated))
        return std::max(clock.simulated, lastMoment);
    return clock.simulated + std::llround(passed);
}

Clock continued(const Clock &clock, Time real, double scale)
{
    return {.simulated = simulatedTime(clock, real), .real = real, .scale = scale};
}

Time realTime()
{
    timespec now;
    clock_gettime(CLOCK_REALTIME, &now);
    return now.tv_sec * second + now.tv_nsec / 1000;
}

double wantedScale()
{
    const char *wanted = secure_getenv("YAT_TIME_SCALE");
    if (!wanted || !*wanted)
        return 1;
    double scale = 1;
    const char *end = wanted + strlen(wanted);
    const auto [rest, error] = std::from_chars(wanted, end, scale);
    return error == std::errc() && rest == end && scale >= 0 ? std::min(scale, fastest) : 1;
}

} // namespace sim
