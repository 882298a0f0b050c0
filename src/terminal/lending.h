// SPDX-License-Identifier: GPL-2.0-or-later
// Lending the terminal to a child of the program.
#pragma once

#include <csignal>

// Leaves the terminal to a child as it was before newt had it, and takes it back whatever the
// child has made of it; in the background not before the shell gives it back.
void lendTerminal();
void reclaimTerminal();

// A child has the terminal.
extern volatile sig_atomic_t terminalIsLent;
