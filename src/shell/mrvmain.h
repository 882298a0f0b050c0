// SPDX-License-Identifier: GPL-2.0-or-later
// Start-up and tear-down of the program.
#pragma once

#include <newt.h>

#pragma GCC visibility push(default)
extern "C" {

extern const newtColors myColors; // the screen's colours

// Prints how the program is called; nothing for a null name.
void usage(const char *program);

// Sets the screen up: newt, colours, help line, root text. Nothing in dump mode.
void NewtStartUp(void);

// A suspend handler for newt. It is not registered: Ctrl-Z has no effect.
void suspend(void *data);

} // extern "C"
#pragma GCC visibility pop
