// SPDX-License-Identifier: GPL-2.0-or-later
// The name that messages begin with.
#pragma once

// Makes the name that the program was called by one that a terminal can show, for all that prints
// program_invocation_short_name. The locale is known by then.
void adoptName();
