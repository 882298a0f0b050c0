// SPDX-License-Identifier: GPL-2.0-or-later
// Texts in the encoding of the locale, as a terminal shows them: how wide they are, where they can
// be cut, and what of them must not reach a terminal.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

// Whether a character says something to a person, and nothing to the terminal: no control
// character of either range, and none that turns the direction or ends the line of what follows.
constexpr bool isShowable(char32_t character)
{
    const auto within = [character](char32_t first, char32_t last) {
        return first <= character && character <= last;
    };
    return character >= 0x20 && !within(0x7F, 0x9F) && character != 0x61C && !within(0x200E, 0x200F)
           && !within(0x2028, 0x202E) && !within(0x2066, 0x2069);
}

// Columns that a text takes on the screen once it is showable.
int textWidth(std::string_view source);

// Length of the longest beginning of a text that has at most `most` bytes and ends between two
// characters. Bytes that are no character count as one each.
size_t wholeCharacters(std::string_view text, size_t most);

// Copies a text into a buffer, cut between two characters where it does not fit. The rest of the
// buffer is zero.
void copyText(std::span<char> buffer, const char *source);

// A text that the terminal draws in as many columns as textWidth counts: what is not showable, or
// no character at all, is '?'.
std::string showable(std::string_view source);

// The same of lines: what newt itself takes for the end of one, or fills up with blanks, stays.
std::string showableLines(std::string_view text);

// The beginning of a text, cut between two characters where it takes more than so many columns.
std::string cutText(std::string_view text, int columns);

// A text in lines of at most so many columns, one at least. A line ends where the text has it end,
// else at a blank or beside a wide character, and only where there is neither in a word.
std::vector<std::string> wrapText(std::string_view text, int columns);
