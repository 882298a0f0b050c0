// SPDX-License-Identifier: GPL-2.0-or-later
// Texts in TOML, read with toml++.
//
// The other readers in Debian 12 were tried beside it: toml11 3.7 takes ten times as long (1.7 s
// for 10,000 devices), ends the program when values are nested 10,000 deep, and reads a number
// that is too large as another one. toml++ 3.3 has its faults with damaged texts, which toml.cc
// keeps from it; another version has to be tried with them first.
#pragma once

#define TOML_EXCEPTIONS 0
#define TOML_HEADER_ONLY 0
#define TOML_ENABLE_FORMATTERS 0
// Else a stream reads numbers, and brings half of the C++ library along.
#define TOML_FLOAT_CHARCONV 1
#include <toml++/toml.h>

#include <string>

static_assert(TOML_LIB_MAJOR == 3 && TOML_LIB_MINOR == 3);

namespace yat {

// The tables of a text that is in a file of that name. What is wrong with it is thrown as a
// Problem: "FILE:LINE: TEXT".
toml::table parseToml(std::string_view text, const std::string &file);

// A problem in a line of a file, as one line even if the file's name or text has line breaks.
std::string inLine(const std::string &file, size_t line, std::string_view text);

} // namespace yat
