// SPDX-License-Identifier: GPL-2.0-or-later
// The terminal as it was before newt had it: its modes, and the bytes that put its screen in order;
// and as newt has it.
#pragma once

#include <string_view>

// Prepares for the other two, before newt changes anything.
void rememberTerminal();

// The same for enterScreen, when newt has the terminal.
void rememberScreen();

// Has the terminal mark what is pasted into it, or no longer; a paste is no series of keys.
void markPastes();
void unmarkPastes();

// Shows the cursor when newt has left the screen: some terminals hide it again with that where it
// was hidden when the screen was entered, as it is when newt comes back.
void showCursor();

// Leaves the screen, and drops what was typed for it. Allowed in a signal handler.
void restoreTerminal();

// Drops what was typed, where the terminal is the program's.
void dropTyped();

// Comes back to the screen, which has to be drawn then. Allowed in a signal handler.
void enterScreen();

// Writes without waiting for ever for a terminal that takes nothing any more; false when it has not
// taken all. Allowed in a signal handler.
bool writeToTerminal(std::string_view bytes);

// Undoes what another program may have left set, also another process group's being the terminal's,
// and drops what was typed for it. Stops have to be held, or it would be stopped by that.
void resetTerminal();
