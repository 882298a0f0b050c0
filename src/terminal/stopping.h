// SPDX-License-Identifier: GPL-2.0-or-later
// Being stopped and continued, by the shell's job control or by anybody else. A program that is
// stopped leaves the terminal as it found it; one that goes on has its screen again, and stops at
// once where it is in the background.
#pragma once

#include <csignal>

// Where it is not the program's controlling terminal, there is no background either.
bool isInForeground();

// Stops as often as it takes until the program is in the foreground. False where it can't be
// stopped there, because no shell is left that could bring it back.
bool awaitForeground();

// What is said of that.
constexpr char neverInForeground[] = "the program is in the background, and no shell can bring it "
                                     "to the foreground; start it in the foreground";

// From here on until forgetStops, and while the terminal is not lent. newt has the terminal.
void watchStops();
void forgetStops();

// While there is one, a stop that the program can be asked for waits, and so does what follows when
// it is continued.
struct HeldStops {
    HeldStops();
    ~HeldStops();
    HeldStops(const HeldStops &) = delete;
    HeldStops &operator=(const HeldStops &) = delete;

    sigset_t before;
};
