// SPDX-License-Identifier: GPL-2.0-or-later
// Drawing the whole screen anew.
#pragma once

// Leaves the screen and comes back to it, which draws what newt knows of over whatever else has
// been written there. Keys neither echo nor signal meanwhile, and what is typed is dropped.
void redrawScreen();
