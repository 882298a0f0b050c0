// SPDX-License-Identifier: GPL-2.0-or-later
// What the boxes share.
#pragma once

#include <newt.h>

// Shows a box with a content and a button, both new and on no form yet, until the button is
// pressed, and destroys the form with them.
void showNotice(newtComponent form, newtComponent content, newtComponent button, const char *title);

// The same with two buttons. Returns the one that was pressed, null for a hot key.
newtComponent showChoice(newtComponent form, newtComponent label, newtComponent left,
                         newtComponent right, const char *title);
