// SPDX-License-Identifier: GPL-2.0-or-later
#include "terminal/later.h"

#include "terminal/restore.h"
#include "terminal/stopping.h"

#include <cerrno>
#include <csignal>
#include <ctime>
#include <utility>

namespace {

// Not SIGALRM, which a library of a machine's maker may want for itself.
const int alarmSignal = SIGRTMAX - 1;

timer_t timer;
struct sigaction former;
std::string_view waiting;
volatile sig_atomic_t isWaiting, isWritten;

void handle(int signal, siginfo_t *info, void *context)
{
    const int savedErrno = errno;
    if (info->si_code != SI_TIMER && (former.sa_flags & SA_SIGINFO)) {
        former.sa_sigaction(signal, info, context); // not ours
    } else if (isWaiting && isInForeground()) {
        writeToTerminal(waiting);
        isWaiting = 0;
        isWritten = 1;
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

void writeLater(std::string_view bytes, std::chrono::milliseconds time)
{
    isWritten = 0;
    if (!makeTimer())
        return;
    waiting = bytes;
    isWaiting = 1;
    struct sigaction action = {};
    action.sa_sigaction = handle;
    action.sa_flags = SA_SIGINFO | SA_ONSTACK | SA_RESTART;
    sigfillset(&action.sa_mask);
    sigaction(alarmSignal, &action, &former);
    setTimer(time);
}

bool takeBack()
{
    if (!makeTimer())
        return true;
    isWaiting = 0;
    setTimer({}); // what it has sent by now arrives before this returns
    sigaction(alarmSignal, &former, nullptr);
    return !std::exchange(isWritten, 0);
}
