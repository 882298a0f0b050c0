// SPDX-License-Identifier: GPL-2.0-or-later
// Windows: opening one around a grid, running its form, closing it; and what a change of the
// terminal's size does to those that are open.
#pragma once

#include "dialogs/grid.h"

#include <functional>
#include <newt.h>

// Makes the contents of a window that can show less of itself so many columns and rows large,
// or as large as they were made when that is less.
using Fit = void (*)(int columns, int rows);

enum class GridEnd { kept, freed };

// Opens a window around a grid, as newtGridWrappedWindow does, for a form that has or will get
// the grid's components, and frees newt's grid or leaves it; newt's grid may have been made of it
// before. Where window and frame have no room between the top of the screen and the help line,
// texts are wrapped and the window scrolls; fit, if given, is told how large its contents can be. A
// title that is too long is cut.
void openWindow(newtComponent form, const Grid &grid, newtGrid newts, const char *title,
                GridEnd end = GridEnd::kept, Fit fit = nullptr);
void openWindow(newtComponent form, const Grid &grid, const char *title,
                GridEnd end = GridEnd::kept);

constexpr int hotKeyA = 1;  // Ctrl-A
constexpr int hotKeyO = 15; // Ctrl-O

// Registers Ctrl-A and Ctrl-O, for which runForm returns null, on the form opened last.
void addHotKeys(newtComponent form);

// Runs the form of the window opened last. Returns the component that ended it, the form itself
// for F12, null for a hot key. A change of the terminal's size is taken care of meanwhile. When
// the terminal goes away, the program ends in here.
newtComponent runForm(newtComponent form);

// Runs the form until this button or a hot key is pressed, and closes the window. Whatever else
// ends the form is answered meanwhile.
void runUntilClosed(newtComponent form, newtComponent close,
                    const std::function<void(newtComponent pressed)> &answer);

// Shows another text in a text box, which may be in a window.
void setText(newtComponent textbox, const char *text);

// Removes the window opened last and destroys its form.
void closeWindow(newtComponent form);

// Draws the help line, on which a window's shadow may lie. A wide character in the last two columns
// of the last row is more than S-Lang can draw.
void redrawHelpLine();

// Destroys the form of the window opened last, which stays on the screen until that is cleared.
void leaveWindow(newtComponent form);
