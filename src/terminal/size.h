// SPDX-License-Identifier: GPL-2.0-or-later
// Changes of the terminal's size.
#pragma once

// Takes over from newt what a change of the terminal's size does. Call after newtInit, and again
// before and after newt runs a form: with the mouse, it puts a handler of its own before the one
// it finds there, and it can forget all of them in the end.
void watchSize();

// A file descriptor that is ready for reading when the terminal's size has changed, -1 when
// nothing is watched.
int resizeDescriptor();

// Lets what waits for a change of the size draw everything anew. Allowed in a signal handler.
void requestDrawing();

// Whether what was drawn last has no room any more. Allowed in a signal handler.
bool terminalHasShrunk();

// True once after each change of the size.
bool resizePending();
