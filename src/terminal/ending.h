// SPDX-License-Identifier: GPL-2.0-or-later
// Whatever ends the program, the terminal is restored first.
#pragma once

#include <string_view>

// From here on the program says so when it ends for want of memory.
void watchSignals();

// From here on a signal that ends the program restores the terminal first, and the kernel's
// messages on the console. newt has the terminal by then or gets it next. end is called when the
// terminal goes away without a signal; it ends the program.
void guardTerminal(void (*end)());
void releaseTerminal();

// Ends the program in order because its terminal is gone.
[[noreturn]] void endWithoutTerminal();

// Ends the program as it is, and says why on standard error. Allowed in a signal handler.
[[noreturn]] void endAtOnce(std::string_view why);
