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
#include <unistd.h>

namespace {

bool consoleWasSilent;

// While there is one, the signal has the effect that it has by itself, once it is let through, and
// SIGCONT waits.
struct UsualEffect {
    explicit UsualEffect(int one) : signal(one)
    {
        struct sigaction usual = {};
        usual.sa_handler = SIG_DFL;
        sigaction(signal, &usual, &former);
        const sigset_t continuing = setOf(SIGCONT);
        sigprocmask(SIG_BLOCK, &continuing, &before);
    }
    ~UsualEffect()
    {
        sigaction(signal, &former, nullptr);
        sigprocmask(SIG_SETMASK, &before, nullptr);
    }
    UsualEffect(const UsualEffect &) = delete;
    UsualEffect &operator=(const UsualEffect &) = delete;

    void letThrough() const
    {
        const sigset_t stopping = setOf(signal);
        sigprocmask(SIG_UNBLOCK, &stopping, nullptr);
    }

    static sigset_t setOf(int signal)
    {
        sigset_t set;
        sigemptyset(&set);
        sigaddset(&set, signal);
        return set;
    }

    const int signal;
    struct sigaction former = {};
    sigset_t before;
};

// Does what the system does by itself at this signal, and returns when the program is continued.
// False at once where the system lets nothing stop it, because no shell could continue it.
bool stopBy(int signal)
{
    const UsualEffect usual(signal);
    raise(signal); // and no SIGCONT of before is pending any more
    usual.letThrough();
    sigset_t pending;
    sigpending(&pending);
    return sigismember(&pending, SIGCONT) == 1;
}

// All signals are blocked in the two handlers. When the first one ends, the second one runs.
void goOn(int)
{
    const int savedErrno = errno;
    if (!terminalIsLent && !awaitForeground())
        endAtOnce(neverInForeground);
    const bool isThere = isInForeground();
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
    struct sigaction former = {};
};
Handled handled[] = {{SIGTSTP, stop}, {SIGTTIN, stop}, {SIGTTOU, stop}, {SIGCONT, goOn}};

} // namespace

bool isInForeground()
{
    const pid_t foreground = tcgetpgrp(STDIN_FILENO);
    return foreground < 0 || foreground == getpgrp();
}

// From the background the system lets nobody say whose the terminal is: it stops who tries, until a
// shell has said it. To look and to stop then would be two steps, with the shell's between them.
bool awaitForeground()
{
    if (isInForeground())
        return true;
    const UsualEffect usual(SIGTTOU);
    usual.letThrough();
    int result = -1;
    do
        result = tcsetpgrp(STDIN_FILENO, getpgrp());
    while (result != 0 && errno == EINTR);
    return result == 0;
}

void watchStops()
{
    rememberScreen();
    for (Handled &each : handled) {
        struct sigaction action = {};
        action.sa_handler = each.handler;
        action.sa_flags = SA_RESTART;
        sigfillset(&action.sa_mask);
        sigaction(each.signal, nullptr, &each.former);
        if (each.former.sa_handler != SIG_IGN)
            sigaction(each.signal, &action, nullptr);
    }
}

void forgetStops()
{
    for (const Handled &each : handled)
        sigaction(each.signal, &each.former, nullptr);
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
