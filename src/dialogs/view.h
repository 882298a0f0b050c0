// SPDX-License-Identifier: GPL-2.0-or-later
// What is to be seen of a form that a window can't show as newt places it: a part of its rows,
// which follows the focus, with marks on the window's frame where there is more.
#pragma once

#include "dialogs/layout.h"

// Of a window, relative to it: where the rows are shown, and the column of its frame on the right.
struct Inside {
    int left, top, columns, rows;
    int frame;
};

// Lets the form, which knows its size and whose window is on top, show its components in these
// places, and draws them.
void startView(newtComponent form, const Layout &layout, const Inside &inside);

// The same for another layout of these components; the next drawing of the form shows it.
void changeView(newtComponent form, const Layout &layout);

// Lets newt have the form again.
void endView(newtComponent form);

bool hasView(newtComponent form);
