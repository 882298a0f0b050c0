// SPDX-License-Identifier: GPL-2.0-or-later
// newt sleeps for a moment to show a pressed button; where thousands are pressed, that is left out.
#include "yat/export.h"

#include <ctime>

extern "C" YAT_API int nanosleep(const timespec *, timespec *)
{
    return 0;
}
