// SPDX-License-Identifier: GPL-2.0-or-later
#include "terminal/console.h"

#include <csignal>
#include <sys/klog.h>

static volatile sig_atomic_t silenced;

void silenceConsole()
{
    constexpr int consoleOff = 6;
    silenced = 1;
    klogctl(consoleOff, nullptr, 0);
}

bool restoreConsole()
{
    constexpr int setLevel = 8, level = 6;
    if (!silenced)
        return false;
    klogctl(setLevel, nullptr, level);
    silenced = 0;
    return true;
}
