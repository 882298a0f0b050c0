// The message boxes: modal, centred, one text and one or two buttons under it.
//
// All texts belong to the caller and are read only while the box is open; none may be null.
#pragma once

#include "dialogs/text.h"

#pragma GCC visibility push(default)
extern "C" {

// Shows a text on a single line. The box can be left with its button only.
void msgWindow(const char *title, const char *button, const char *message);

// The same for a long text, wrapped at 72 columns. Its height is worked out from its length in
// bytes, so a text whose words wrap badly is cut at the bottom.
void msgWindowEx(const char *title, const char *button, const char *message);

// Asks for confirmation. Returns 1 for OK, 0 for Cancel and for the hot keys. A title of 80 bytes
// or more is cut.
int Message(const char *title, const char *message);

// Tells that an operation succeeded. A title of 80 bytes or more is cut.
void Success(const char *title);

} // extern "C"
#pragma GCC visibility pop

// The error box of all windows.
inline void showError(TextKey message)
{
    msgWindow("Error", " ok ", text(message));
}
