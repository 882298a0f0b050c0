// SPDX-License-Identifier: GPL-2.0-or-later
// The sequences of bytes that a terminal sends for keys, and for much else: reports of the mouse
// and of the focus, answers to queries, pastes. All begin with Esc.
#pragma once

#include <string>
#include <string_view>

constexpr char escape = '\x1b';

// Whether the bytes, the first of them Esc, are a sequence that is whole. Only the first five and
// the last two count, and what is longer by that. An Esc alone is not: more can follow.
bool isWhole(std::string_view sequence);

constexpr bool isControl(char byte)
{
    return byte >= 0 && byte < ' ';
}

// Whether a control character that comes next belongs to the sequence. Else it breaks that off, as
// a key of its own or, if it is an Esc, the beginning of another sequence.
bool takesControl(std::string_view sequence, char byte);

// Adds the byte that comes next to a sequence, or begins with it what it breaks off. No more is
// kept than counts.
void addByte(std::string &sequence, char byte);

// The bytes by which newt knows the key of a sequence on every terminal; empty for what is no key
// that it knows.
std::string_view keyOf(std::string_view sequence);

// Lets keyOf know a key by the bytes of this terminal as well; null or empty ones are passed over.
void addKey(const char *ofTerminal, std::string_view ofNewt);

// Around what was pasted into the terminal.
constexpr std::string_view pasteBegins = "\x1b[200~", pasteEnds = "\x1b[201~";
