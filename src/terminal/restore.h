// The terminal as it was before newt had it: its modes, and the bytes that put its screen in order;
// and as newt has it.
#pragma once

// Prepares for the other two, before newt changes anything.
void rememberTerminal();

// The same for enterScreen, when newt has the terminal.
void rememberScreen();

// Has the terminal mark what is pasted into it, or no longer; a paste is no series of keys.
void markPastes();
void unmarkPastes();

// Leaves the screen. Allowed in a signal handler.
void restoreTerminal();

// Comes back to the screen, which has to be drawn then. Allowed in a signal handler.
void enterScreen();

// Undoes what another program may have left set, and drops what was typed for it.
void resetTerminal();
