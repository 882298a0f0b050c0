// SPDX-License-Identifier: GPL-2.0-or-later
#include "terminal/lending.h"

#include "terminal/environment.h"
#include "terminal/restore.h"

#include <newt.h>

volatile sig_atomic_t terminalIsLent;

void lendTerminal()
{
    unmarkPastes();
    newtSuspend();
    undisguiseTerminal();
    terminalIsLent = 1;
}

void reclaimTerminal()
{
    terminalIsLent = 0;
    resetTerminal();
    disguiseTerminal();
    newtResume();
    markPastes();
}
