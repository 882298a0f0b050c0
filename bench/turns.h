// SPDX-License-Identifier: GPL-2.0-or-later
// Programs that take turns, so that what disturbs the machine meets them alike, and what is told
// of them.
#pragma once

#include "screenprogram.h"

#include <functional>

// The starts of each program: one a turn, after one that counts for nothing.
std::vector<std::vector<Start>> takeTurns(const std::vector<std::function<Start()>> &programs,
                                          int turns);

// One figure of all starts, the least first.
std::vector<double> figures(const std::vector<Start> &starts,
                            const std::function<double(const Start &)> &figure);
double median(const std::vector<double> &sorted);

// The median of the quotients of two programs' times in the same turn.
double ratio(const std::vector<Start> &ones, const std::vector<Start> &others);

// The least, the middle and the greatest time as three cells of a table.
void printTimes(const std::vector<Start> &starts);
