// Texts as the terminal shows them, in the encoding of the locale: how wide they are, where they
// can be cut, and device names made such texts.
#pragma once

#include <array>
#include <span>
#include <string>
#include <string_view>

// Columns that a text takes on the screen once it is showable.
int textWidth(const char *source);

// Copies a text into a buffer, cut between two characters where it does not fit. The rest of the
// buffer is zero.
void copyText(std::span<char> buffer, const char *source);

// A text that the terminal draws in as many columns as textWidth counts: its control characters
// and the bytes that are no characters are '?'.
std::string showable(std::string_view source);

// The same of a text that is in EUC-JP or already in the encoding of the locale, up to 1023 bytes
// of it; "" for null.
std::string displayText(const char *source);

// What a box shows on a line of its own.
using Question = std::array<char, 80>;
