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

// After which what leads back to where it began, and was not seen, counts as done.
constexpr std::chrono::seconds unseen{30};

// Another platform may have further states, which may end by themselves.
bool isSettled(int64_t state)
{
    return state == YAT_DEVICE_NOT_INSTALLED || state == YAT_DEVICE_STOPPED
           || state == YAT_DEVICE_RUNNING || state == YAT_DEVICE_BROKEN;
}

bool isUnchanged(const Device &device, const Device &before)
{
    return device.facts.state == before.facts.state && device.facts.bios == before.facts.bios
           && device.facts.failures == before.facts.failures
           && device.biosVersion == before.biosVersion && device.biosStatus == before.biosStatus;
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
    const Clock::time_point begin = Clock::now(), end = begin + std::chrono::seconds(seconds);
    const Device before = device;
    ProgressLine line;
    for (bool hasBegun = false;; sleepFor(betweenLooks)) {
        read(device);
        const auto now = fact(device, YAT_KNOWS_STATE, device.facts.state);
        // One that is as it was may only be slow.
        hasBegun = hasBegun || (now && !isUnchanged(device, before));
        const bool isThere = now && *now == state && biosWord(device) != "updating";
        if (isThere && (hasBegun || Clock::now() >= begin + unseen))
            return;
        line.show(device.shortName + ": " + shownState(device));
        const bool isOver = now && *now != state && isSettled(*now)
                            && (hasBegun || *now == YAT_DEVICE_NOT_INSTALLED);
        if (isOver)
            throw Failure(failed, device.shortName
                                      + " did not get there; it is now: " + shownState(device));
        if (Clock::now() >= end)
            throw Failure(failed, device.shortName + " has not got there after "
                                      + std::to_string(seconds)
                                      + " s; it is now: " + shownState(device));
    }
}

} // namespace yatctl
