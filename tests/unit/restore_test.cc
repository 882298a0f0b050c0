// SPDX-License-Identifier: GPL-2.0-or-later
// Writing to a terminal that takes nothing, while signals come in.
#include "terminal/restore.h"

#include "terminal/stopping.h"

#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

namespace {

volatile sig_atomic_t handled, flagsAfter;
int waits, flagsMeanwhile;

// Does what a handler does before it stops or ends the program.
void leave(int)
{
    writeToTerminal("left");
    flagsAfter = fcntl(STDOUT_FILENO, F_GETFL);
    handled = 1;
}

} // namespace

bool isInForeground()
{
    return true;
}

// In the place of the C library's, whose header may define it itself: there the program waits, and
// there the signal comes.
extern "C" int poll(struct pollfd *, unsigned long, int)
{
    flagsMeanwhile = fcntl(STDOUT_FILENO, F_GETFL);
    if (++waits == 1)
        raise(SIGUSR1);
    return 0;
}

TEST(Restoring, ByAHandlerLeavesTheFlagsOfTheTerminalAsTheyWere)
{
    struct sigaction action {
    }, before;
    action.sa_handler = leave;
    sigaction(SIGUSR1, &action, &before);
    const int flags = fcntl(STDOUT_FILENO, F_GETFL);
    ASSERT_EQ(flags & O_NONBLOCK, 0);
    EXPECT_FALSE(writeToTerminal("bytes"));
    EXPECT_NE(flagsMeanwhile & O_NONBLOCK, 0); // or more than it takes would block
    EXPECT_EQ(handled, 1);
    EXPECT_EQ(flagsAfter, flags);
    EXPECT_EQ(fcntl(STDOUT_FILENO, F_GETFL), flags);
    sigaction(SIGUSR1, &before, nullptr);
}
