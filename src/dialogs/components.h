// SPDX-License-Identifier: GPL-2.0-or-later
// The components that have a text. Made here, they can be shown on several lines where a window
// has no room for the whole of it on one.
#pragma once

#include <newt.h>
#include <string>

newtComponent makeLabel(const char *text);

// A label that looks like a checked box, up to 79 bytes of it.
newtComponent makeCheckedLabel(const char *text);

// A radio button of the group of the one made before it, which is null for the first.
newtComponent makeRadio(const char *text, bool isSelected, newtComponent previous);

// A check box for a setting that is '*' for on and ' ' for off; current is newt's own.
newtComponent makeCheckbox(const char *text, char state, char *current);

// Its text is set by setText of window.h.
newtComponent makeTextbox(int columns, int rows, int flags);

// What such a component shows.
struct ComponentText {
    std::string mark; // stands before the text; lines below the first begin where the text does
    std::string text;
    enum { fixed, radio, checkbox } kind = fixed; // of the mark
    const char *current = nullptr;                // state of a check box
};

// Null for a component that was made otherwise.
const ComponentText *textOf(newtComponent component);

void changeTextOf(newtComponent textbox, const char *text);
void forgetText(newtComponent component);

// What stands between the brackets of a radio button or check box.
char stateOf(newtComponent component);
