// The terminal as it was before newt had it: its modes, and the bytes that put its screen in order.
#pragma once

// Prepares for the other two, before newt changes anything.
void rememberTerminal();

// Leaves the screen. Allowed in a signal handler.
void restoreTerminal();

// Undoes what another program may have left set, and drops what was typed for it.
void resetTerminal();
