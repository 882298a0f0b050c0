// SPDX-License-Identifier: GPL-2.0-or-later
// The message boxes, choosers and field helpers that windows are made with.
//
// A box is modal and centred: a text with buttons under it. All texts belong to the caller and
// are read only while the box is open.
#pragma once

#include "text/displaytext.h"
#include "text/textkeys.h"

#include <cstddef>
#include <newt.h>

// The fields that a check box greys out while it is not checked.
struct FieldControl {
    newtComponent *components; // array of the fields
    int first, last;           // indexes of the first and the last one in it; none if first > last
    char *state;               // result character of the check box: ' ' unchecked, else checked
};
static_assert(offsetof(FieldControl, first) == 8 && offsetof(FieldControl, last) == 12
              && offsetof(FieldControl, state) == 16);

#pragma GCC visibility push(default)
extern "C" {

// Shows a text on a single line. The box can be left with its button only. No text may be null,
// here and in the next.
void msgWindow(const char *title, const char *button, const char *message);

// The same for a long text, wrapped at 72 columns. Its height is worked out from its length in
// bytes, so a text whose words wrap badly is cut at the bottom.
void msgWindowEx(const char *title, const char *button, const char *message);

// Shows a text, on a single line, above a row of the caller's buttons, and returns what ended the
// box: the button that was pressed, null for Ctrl-O, the form for F12.
//
// A null title is " ", a null message "  ". The buttons are new and on no form; the box destroys
// them with its form, so the result is there to be compared only.
newtComponent SelectFromButtons(const char *title, const char *message, newtComponent *buttons,
                                int count);

// The same with the text wrapped at 60 columns; no more than three lines of it are shown.
newtComponent SelectFromButtonsEx(const char *title, const char *message, newtComponent *buttons,
                                  int count);

// What CheckButtonFunc and CheckBoxFunc work on. Filled before the callback is installed; a zero
// record controls nothing.
extern FieldControl CheckStruct;
extern FieldControl CheckboxStruct;

// Callbacks for a check box, to be installed with newtComponentAddCallback: grey out the entries
// of CheckStruct, or the check boxes of CheckboxStruct, while the box is unchecked, and give them
// back when it is checked. The arguments are not used.
void CheckButtonFunc(newtComponent component, void *data);
void CheckBoxFunc(newtComponent component, void *data);

// A filter for an entry that takes a number, to be installed with newtEntrySetFilter: lets digits,
// the minus sign (anywhere) and the editing keys through and returns them; 0 for all others.
int EntryNumricFilter(newtComponent entry, void *data, int key, int cursor);

} // extern "C"
#pragma GCC visibility pop

// The error box of all windows.
inline void showError(TextKey message)
{
    msgWindow("Error", " ok ", text(message));
}

// Says that a value can't be read, and puts the text for an unknown one in its place.
inline void replaceUnreadable(std::span<char> value, TextKey message)
{
    showError(message);
    copyText(value, text("LABEL_UNKNOWN_ID"));
}
