// SPDX-License-Identifier: GPL-2.0-or-later
#include "terminal/stopping.h"

#include "terminal/console.h"
#include "terminal/ending.h"
#include "terminal/keys.h"
#include "terminal/later.h"
#include "terminal/lending.h"
#include "terminal/restore.h"
#include "terminal/size.h"

#include <cerrno>
#include <csignal>
#include <iterator>
#include <unistd.h>

namespace {

bool consoleWasSilent;

// Does what the system does by itself at this signal, and returns when the program is continued.
// False at once where the system lets nothing stop it, because no shell could continue it.
bool stopBy(int signal)
{
    struct sigaction usual = {}, former;
    usual.sa_handler = SIG_DFL;
    sigaction(signal, &usual, &former);
    sigset_t stopping, continuing, before, pending;
    sigemptyset(&stopping);
    sigaddset(&stopping, signal);
    sigemptyset(&continuing);
    sigaddset(&continuing, SIGCONT);
    sigprocmask(SIG_BLOCK, &continuing, &before);
    raise(signal); // and no SIGCONT of before is pending any more
    sigprocmask(SIG_UNBLOCK, &stopping, nullptr);
    sigpending(&pending);
    sigaction(signal, &former, nullptr);
    sigprocmask(SIG_SETMASK, &before, nullptr);
    return sigismember(&pending, SIGCONT) == 1;
}

// All signals are blocked in the two handlers. When the first one ends, the second one runs.
void goOn(int)
{
    const int savedErrno = errno;
    const bool mayStay = isInForeground() || terminalIsLent || stopBy(SIGTTIN);
    const bool isThere = isInForeground();
    if (!isThere && !mayStay)
        endAtOnce(neverInForeground);
    if ((isThere || terminalIsLent) && consoleWasSilent) {
        silenceConsole();
        consoleWasSilent = false;
    }
    if (isThere && !terminalIsLent) {
        enterScreen();
        requestDrawing();
        writeAgain(); // nothing draws while the machine is asked
    }
    errno = savedErrno;
}

void stop(int signal)
{
    const int savedErrno = errno;
    if (!terminalIsLent && isInForeground()) {
        restoreTerminal();
        cutSequence();
    }
    consoleWasSilent = restoreConsole() || consoleWasSilent;
    if (!stopBy(signal))
        goOn(SIGCONT); // which nobody sends
    errno = savedErrno;
}

struct Handled {
    int signal;
    void (*handler)(int);
};
constexpr Handled handled[] = {{SIGTSTP, stop}, {SIGTTIN, stop}, {SIGTTOU, stop}, {SIGCONT, goOn}};
struct sigaction former[std::size(handled)];

} // namespace

bool isInForeground()
{
    const pid_t foreground = tcgetpgrp(STDIN_FILENO);
    return foreground < 0 || foreground == getpgrp();
}

bool awaitForeground()
{
    while (!isInForeground())
        if (!stopBy(SIGTTIN) && !isInForeground())
            return false;
    return true;
}

void watchStops()
{
    rememberScreen();
    for (size_t i = 0; i < std::size(handled); ++i) {
        struct sigaction action = {};
        action.sa_handler = handled[i].handler;
        action.sa_flags = SA_RESTART;
        sigfillset(&action.sa_mask);
        sigaction(handled[i].signal, nullptr, &former[i]);
        if (former[i].sa_handler != SIG_IGN)
            sigaction(handled[i].signal, &action, nullptr);
    }
}

void forgetStops()
{
    for (size_t i = 0; i < std::size(handled); ++i)
        sigaction(handled[i].signal, &former[i], nullptr);
}

HeldStops::HeldStops()
{
    sigset_t stops;
    sigemptyset(&stops);
    for (const Handled &each : handled)
        sigaddset(&stops, each.signal);
    sigprocmask(SIG_BLOCK, &stops, &before);
}

HeldStops::~HeldStops()
{
    sigprocmask(SIG_SETMASK, &before, nullptr);
}
