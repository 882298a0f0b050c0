// SPDX-License-Identifier: GPL-2.0-or-later
// Being stopped and continued, by the shell's job control or by anybody else. A program that is
// stopped leaves the terminal as it found it; one that goes on has its screen again, and stops at
// once where it is in the background.
#pragma once

// Where it is not the program's controlling terminal, there is no background either.
bool isInForeground();

// Stops as often as it takes until the program is in the foreground.
void awaitForeground();

// From here on until forgetStops, and while the terminal is not lent. newt has the terminal.
void watchStops();
void forgetStops();
