// SPDX-License-Identifier: GPL-2.0-or-later
// What is wrong, as work tells it.
#pragma once

#include "common/problem.h"

#include <functional>
#include <string>

// The text of the problem that work throws; none when it throws none.
inline std::string problemOf(const std::function<void()> &work)
{
    try {
        work();
    } catch (const yat::Problem &problem) {
        return problem.what();
    }
    return "";
}
