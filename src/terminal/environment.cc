// SPDX-License-Identifier: GPL-2.0-or-later
#include "terminal/environment.h"

#include <cstdlib>
#include <newt.h>
#include <string>
#include <string_view>

static std::string realType; // of the terminal while it is disguised

// newt has a switch of its own for a screen without colours. It is set only while newt looks, so
// that no child of the program sees it.
void startNewt()
{
    const char *noColour = secure_getenv("NO_COLOR");
    const bool switches = noColour && *noColour && !secure_getenv("NEWT_MONO");
    if (switches)
        setenv("NEWT_MONO", "1", 1);
    newtInit();
    if (switches)
        unsetenv("NEWT_MONO");
    disguiseTerminal();
}

void disguiseTerminal()
{
    const char *type = secure_getenv("TERM");
    if (!type || !std::string_view(type).starts_with("xterm"))
        return;
    realType = type;
    setenv("TERM", "vt100", 1);
}

void undisguiseTerminal()
{
    if (!realType.empty())
        setenv("TERM", realType.c_str(), 1);
    realType.clear();
}
