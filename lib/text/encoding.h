// SPDX-License-Identifier: GPL-2.0-or-later
// The character encoding of the locale, which is that of the terminal.
#pragma once

#include <string>
#include <string_view>

namespace yat {

// True when the text is valid in the locale's encoding.
bool isDisplayable(const char *text);

// From UTF-8 to the locale's encoding. What that lacks is written in a similar way or as '?';
// what is no UTF-8 becomes U+FFFD first.
std::string toDisplay(std::string_view utf8);

// From the locale's encoding to UTF-8; what is no character of it becomes U+FFFD.
std::string fromDisplay(std::string_view text);

// What is shown of a UTF-8 text that somebody else wrote: '?' for what is not showable, see
// base/display.h.
std::string printable(std::string_view utf8);

// Beyond U+FFFF, JSON has two escapes for a character, and TOML one.
enum class Escapes { ofJson, ofToml };

// JSON in UTF-8 with what is not showable escaped, which in JSON stands in strings only. Where the
// terminal does not take UTF-8 for what it is, everything beyond ASCII is: of the bytes of one
// character, it may take some for control characters.
std::string escapedJson(std::string_view json, Escapes escapes = Escapes::ofJson);

// From EUC-JP to UTF-8; what is no EUC-JP becomes U+FFFD.
std::string fromEuc(std::string_view euc);

} // namespace yat
