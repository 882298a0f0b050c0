// SPDX-License-Identifier: GPL-2.0-or-later
// How yatctl ends.
#pragma once

#include "common/problem.h"

namespace yatctl {

enum Status {
    done = 0,
    failed = 1,
    usage = 2,
    refused = 3, // or not supported
    noDevice = 4,
    unreachable = 5, // the platform
};

// A problem that the exit status tells as well.
struct Failure : yat::Problem {
    Failure(Status status, const std::string &text) : Problem(text), status(status) {}
    Status status;
};

} // namespace yatctl
