// SPDX-License-Identifier: GPL-2.0-or-later
#include "terminal/lending.h"

#include "terminal/ending.h"
#include "terminal/environment.h"
#include "terminal/restore.h"
#include "terminal/stopping.h"

#include <cerrno>
#include <newt.h>
#include <unistd.h>

volatile sig_atomic_t terminalIsLent;

void lendTerminal()
{
    const HeldStops held; // which find the terminal either the program's or lent
    unmarkPastes();
    newtSuspend();
    showCursor();
    undisguiseTerminal();
    terminalIsLent = 1;
}

// Whether the shell has given the terminal to others meanwhile. A child can leave it to a group of
// processes of its own, which has ended with it.
static bool isOthers()
{
    return !isInForeground() && (kill(-tcgetpgrp(STDIN_FILENO), 0) == 0 || errno == EPERM);
}

void reclaimTerminal()
{
    if (isOthers() && !awaitForeground())
        endAtOnce(neverInForeground);
    const HeldStops held;
    terminalIsLent = 0;
    resetTerminal();
    disguiseTerminal();
    newtResume();
    markPastes();
}
