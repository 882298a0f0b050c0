// SPDX-License-Identifier: GPL-2.0-or-later
// What newt finds in the environment.
#pragma once

// Starts newt, without colours where the user asks for none, and disguises the terminal.
void startNewt();

// Keeps newt from taking the terminal for an xterm while it runs forms, and lets the environment
// tell the truth again, for a child of the program and at its end.
//
// newt looks the terminal's type up in the environment each time that it runs a form, to decide
// how it reaches the mouse. On one whose type begins with "xterm" it loses count of that when
// forms nest, and crashes when the outer one ends.
void disguiseTerminal();
void undisguiseTerminal();
