// The kernel's messages on the console, which would get between what newt draws.
#pragma once

void silenceConsole();

// Lets them come again if they were silenced. Allowed in a signal handler.
void restoreConsole();
