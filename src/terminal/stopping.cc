// SPDX-License-Identifier: GPL-2.0-or-later
#include "terminal/stopping.h"

#include "terminal/console.h"
#include "terminal/lending.h"
#include "terminal/restore.h"
#include "terminal/size.h"

#include <cerrno>
#include <csignal>
#include <unistd.h>

namespace {

struct sigaction formerStop, formerContinue;
bool consoleWasSilent;

// Does what the system does by itself at this signal. Returns when the program is continued.
void stopBy(int signal)
{
    struct sigaction usual = {}, former;
    usual.sa_handler = SIG_DFL;
    sigaction(signal, &usual, &former);
    sigset_t unblocked, blocked;
    sigemptyset(&unblocked);
    sigaddset(&unblocked, signal);
    sigprocmask(SIG_UNBLOCK, &unblocked, &blocked);
    raise(signal);
    sigprocmask(SIG_SETMASK, &blocked, nullptr);
    sigaction(signal, &former, nullptr);
}

// All signals are blocked in the two handlers. When the first one ends, the second one runs.
void stop(int signal)
{
    const int savedErrno = errno;
    if (!terminalIsLent && isInForeground())
        restoreTerminal();
    consoleWasSilent = restoreConsole();
    stopBy(signal);
    errno = savedErrno;
}

void goOn(int)
{
    const int savedErrno = errno;
    if (!isInForeground() && !terminalIsLent)
        stopBy(SIGTTIN);
    if (consoleWasSilent)
        silenceConsole();
    consoleWasSilent = false;
    if (isInForeground() && !terminalIsLent) {
        enterScreen();
        requestDrawing();
    }
    errno = savedErrno;
}

void handle(int signal, void (*handler)(int), struct sigaction *former)
{
    struct sigaction action = {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    sigfillset(&action.sa_mask);
    sigaction(signal, nullptr, former);
    if (former->sa_handler != SIG_IGN)
        sigaction(signal, &action, nullptr);
}

} // namespace

bool isInForeground()
{
    const pid_t foreground = tcgetpgrp(STDIN_FILENO);
    return foreground < 0 || foreground == getpgrp();
}

void awaitForeground()
{
    while (!isInForeground())
        stopBy(SIGTTIN);
}

void watchStops()
{
    rememberScreen();
    handle(SIGTSTP, stop, &formerStop);
    handle(SIGCONT, goOn, &formerContinue);
}

void forgetStops()
{
    sigaction(SIGTSTP, &formerStop, nullptr);
    sigaction(SIGCONT, &formerContinue, nullptr);
}
