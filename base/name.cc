// SPDX-License-Identifier: GPL-2.0-or-later
#include "base/name.h"

#include "base/display.h"

#include <cerrno>
#include <climits>

void adoptName()
{
    static char name[NAME_MAX + 1];
    copyText(name, showable(program_invocation_short_name).c_str());
    program_invocation_short_name = name;
}
