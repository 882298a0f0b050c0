// SPDX-License-Identifier: GPL-2.0-or-later
// What the programs differ in: each defines its own.
#pragma once

#include "base/display.h"

#include <cerrno>
#include <cstdio>

struct Program {
    int (*run)();        // what it does with the screen, or in dump mode: returns 1, 0 on failure
    const char *failure; // the trace record of a failed run; null when the run writes its own
    const char *data;    // what dump mode prints
    bool alwaysReleases; // releases the platform also when that was not opened
};

extern const Program program;

// Says something on standard error. newt must not have the screen.
inline void say(const char *text)
{
    fprintf(stderr, "%s: %s\n", program_invocation_short_name, showable(text).c_str());
}
