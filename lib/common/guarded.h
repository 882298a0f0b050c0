// SPDX-License-Identifier: GPL-2.0-or-later
// Calls that no exception leaves.
#pragma once

#include <exception>

namespace yat {

// What exceptions need of memory in a library that is loaded later, fetched while there is some:
// the loader ends the program at once when it can't be had. Volatile, or an optimiser leaves it
// out.
[[maybe_unused]] static const volatile int readyForExceptions = std::uncaught_exceptions();

// Runs the call; one that throws tells what is wrong, and fails with that result.
template <auto call, auto failure, void (*tell)(const std::exception &)> struct Guarded;
template <class Result, class... Arguments, Result (*call)(Arguments...), auto failure,
          void (*tell)(const std::exception &)>
struct Guarded<call, failure, tell> {
    static Result run(Arguments... arguments)
    try {
        return call(arguments...);
    } catch (const std::exception &problem) {
        tell(problem);
        return failure;
    }
};

} // namespace yat
