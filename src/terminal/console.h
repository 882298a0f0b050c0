// SPDX-License-Identifier: GPL-2.0-or-later
// The kernel's messages on the console, which would get between what newt draws.
#pragma once

// Both are allowed in a signal handler.
void silenceConsole();

// Lets them come again if they were silenced, which is the result.
bool restoreConsole();
