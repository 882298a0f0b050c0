// SPDX-License-Identifier: GPL-2.0-or-later
#include "terminal/later.h"

#include "terminal/restore.h"
#include "terminal/size.h"
#include "terminal/stopping.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <ctime>

namespace {

// Not SIGALRM, which a library of a machine's maker may want for itself.
const int alarmSignal = SIGRTMAX - 1;

timer_t timer;
struct sigaction former;
std::string_view waiting, around;
volatile sig_atomic_t isWaiting, isWritten;

// What was prepared for a larger terminal would be wrapped, and scroll it.
void writeWaiting()
{
    if (terminalHasShrunk())
        return;
    isWritten = 1;
    if (!writeToTerminal(waiting))
        requestDrawing();
}

void handle(int signal, siginfo_t *info, void *context)
{
    const int savedErrno = errno;
    if (info->si_code != SI_TIMER && (former.sa_flags & SA_SIGINFO)) {
        former.sa_sigaction(signal, info, context); // not ours
    } else if (isWaiting && !isWritten && isInForeground()) {
        writeWaiting();
    }
    errno = savedErrno;
}

bool makeTimer()
{
    static const bool isMade = [] {
        sigevent event{};
        event.sigev_notify = SIGEV_SIGNAL;
        event.sigev_signo = alarmSignal;
        return timer_create(CLOCK_MONOTONIC, &event, &timer) == 0;
    }();
    return isMade;
}

void setTimer(std::chrono::milliseconds time)
{
    itimerspec when{};
    when.it_value.tv_sec = time.count() / 1000;
    when.it_value.tv_nsec = time.count() % 1000 * 1000000;
    timer_settime(timer, 0, &when, nullptr);
}

} // namespace

void writeLater(std::string_view bytes, std::string_view screen, std::chrono::milliseconds time)
{
    waiting = bytes;
    around = screen;
    isWritten = 0;
    std::atomic_signal_fence(std::memory_order_release); // the handler has both when it may write
    isWaiting = 1;
    if (!makeTimer())
        return;
    struct sigaction action = {};
    action.sa_sigaction = handle;
    action.sa_flags = SA_SIGINFO | SA_ONSTACK | SA_RESTART;
    sigfillset(&action.sa_mask);
    sigaction(alarmSignal, &action, &former);
    setTimer(time);
}

void writeNow()
{
    if (makeTimer())
        setTimer({}); // what it has sent by now arrives before this returns
    if (!isWritten)
        writeWaiting();
}

void writeAgain()
{
    if (!isWaiting || terminalHasShrunk())
        return;
    writeToTerminal(around);
    if (isWritten)
        writeToTerminal(waiting);
}

bool takeBack()
{
    isWaiting = 0;
    if (makeTimer()) {
        setTimer({});
        sigaction(alarmSignal, &former, nullptr);
    }
    return !isWritten;
}
