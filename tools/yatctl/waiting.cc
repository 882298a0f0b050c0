// SPDX-License-Identifier: GPL-2.0-or-later
#include "yatctl/waiting.h"

#include "base/display.h"
#include "text/encoding.h"
#include "yatctl/failure.h"

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <unistd.h>

namespace yatctl {
namespace {

constexpr double betweenLooks = 0.25; // seconds

bool endsByItself(int64_t state)
{
    return state == YAT_DEVICE_STARTING || state == YAT_DEVICE_SYNCHRONISING
           || state == YAT_DEVICE_STOPPING || state == YAT_DEVICE_UPDATING;
}

// The line at a terminal; gone when this is.
struct ProgressLine {
    ~ProgressLine()
    {
        show("");
    }
    void show(const std::string &utf8)
    {
        if (isatty(STDERR_FILENO))
            fprintf(stderr, "\r%s\x1b[K", showable(yat::toDisplay(utf8)).c_str());
    }
};

} // namespace

void sleepFor(double seconds)
{
    const auto whole = static_cast<time_t>(seconds);
    timespec rest = {.tv_sec = whole,
                     .tv_nsec = static_cast<long>((seconds - static_cast<double>(whole)) * 1e9)};
    while (nanosleep(&rest, &rest) != 0 && errno == EINTR) {
    }
}

void waitFor(Device &device, int state, int seconds)
{
    using Clock = std::chrono::steady_clock;
    const Clock::time_point end = Clock::now() + std::chrono::seconds(seconds);
    ProgressLine line;
    for (bool hasBegun = false;; sleepFor(betweenLooks)) {
        read(device);
        const auto now = fact(device, YAT_KNOWS_STATE, device.facts.state);
        if (now && *now == state && biosWord(device) != "updating")
            return;
        line.show(device.shortName + ": " + shownState(device));
        const bool isUnderWay = now && endsByItself(*now);
        // One that does not move yet may only be slow.
        const bool isOver =
            now && !isUnderWay
            && (hasBegun || *now == YAT_DEVICE_BROKEN || *now == YAT_DEVICE_NOT_INSTALLED);
        if (isOver)
            throw Failure(failed, device.shortName
                                      + " is not what it was to be, but: " + shownState(device));
        hasBegun = hasBegun || isUnderWay;
        if (Clock::now() >= end)
            throw Failure(failed, device.shortName + " has not arrived after "
                                      + std::to_string(seconds) + " s: " + shownState(device));
    }
}

} // namespace yatctl
