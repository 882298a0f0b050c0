// SPDX-License-Identifier: GPL-2.0-or-later
// newt gives the terminal's modes back when it leaves the screen. For the moment until it comes
// back Ctrl-C would end the program, Ctrl-Z stop it, and keys would be echoed.
#include "terminal/redrawing.h"

#include "terminal/keys.h"
#include "yat/export.h"

#include <dlfcn.h>
#include <newt.h>
#include <slang.h>

static bool keepsModes;

void redrawScreen()
{
    keepsModes = true;
    newtSuspend();
    newtResume();
    keepsModes = false;
    dropKeys();
}

// What newt gives them back with; the program's definition comes before S-Lang's.
extern "C" YAT_API void SLang_reset_tty(void)
{
    using Reset = void();
    static Reset *const original = reinterpret_cast<Reset *>(dlsym(RTLD_NEXT, "SLang_reset_tty"));
    if (!keepsModes)
        original();
}
