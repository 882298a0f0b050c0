// SPDX-License-Identifier: GPL-2.0-or-later
#include "turns.h"

#include <algorithm>
#include <cstdio>
#include <iterator>

std::vector<std::vector<Start>> takeTurns(const std::vector<std::function<Start()>> &programs,
                                          int turns)
{
    std::vector<std::vector<Start>> starts(programs.size());
    for (int turn = -1; turn < turns; ++turn) // the first one fills the caches
        for (size_t i = 0; i < programs.size(); ++i) {
            const Start one = programs[i]();
            if (turn >= 0)
                starts[i].push_back(one);
        }
    return starts;
}

std::vector<double> figures(const std::vector<Start> &starts,
                            const std::function<double(const Start &)> &figure)
{
    std::vector<double> result;
    std::ranges::transform(starts, std::back_inserter(result), figure);
    std::ranges::sort(result);
    return result;
}

double median(const std::vector<double> &sorted)
{
    return sorted[sorted.size() / 2];
}

double ratio(const std::vector<Start> &ones, const std::vector<Start> &others)
{
    std::vector<double> ratios;
    for (size_t i = 0; i < ones.size(); ++i)
        ratios.push_back(ones[i].seconds / others[i].seconds);
    std::ranges::sort(ratios);
    return median(ratios);
}

void printTimes(const std::vector<Start> &starts)
{
    const auto seconds = figures(starts, [](const Start &one) { return one.seconds; });
    printf(" %.2f ms | %.2f ms | %.2f ms |", seconds.front() * 1000, median(seconds) * 1000,
           seconds.back() * 1000);
}
