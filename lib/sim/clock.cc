#include "sim/clock.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <optional>

namespace sim {
namespace {

std::optional<double> scaleOf(const char *text)
{
    if (!text || !*text)
        return 1;
    double scale = 0;
    const char *end = text + strlen(text);
    const auto [rest, error] = std::from_chars(text, end, scale);
    if (error != std::errc() || rest != end || !(scale >= 0 && scale <= fastest))
        return {};
    return scale;
}

} // namespace

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
    return scaleOf(secure_getenv("YAT_TIME_SCALE")).value_or(1);
}

std::string scaleMistake()
{
    const char *wanted = secure_getenv("YAT_TIME_SCALE");
    return scaleOf(wanted) ? ""
                           : "wrong value '" + std::string(wanted)
                                 + "' for YAT_TIME_SCALE, expected a number from 0 to 1000000";
}

} // namespace sim
