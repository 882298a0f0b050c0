// Windows: opening one around a grid, running its form, closing it; and what a change of the
// terminal's size does to those that are open.
#pragma once

#include <functional>
#include <newt.h>

// Makes the contents of a window that can show less of itself so many columns and rows large,
// or as large as they were made when that is less.
using Fit = void (*)(int columns, int rows);

// Opens a window around a grid, as newtGridWrappedWindow does, for a form that has or will get
// the grid's components. Where that would put a component outside the screen, the window is as
// high as the screen and the form scrolls; fit, if given, is told how large its contents can be.
void openWindow(newtComponent form, newtGrid grid, const char *title, Fit fit = nullptr);

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

// Removes the window opened last and destroys its form.
void closeWindow(newtComponent form);

// Destroys the form of the window opened last, which stays on the screen until that is cleared.
void leaveWindow(newtComponent form);
