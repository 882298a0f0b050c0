// SPDX-License-Identifier: GPL-2.0-or-later
// What the companion programs do alike.
#pragma once

#include <string>
#include <string_view>
#include <strings.h>

// Prints what is wrong on standard error, each line after the program's name.
void printProblem(const std::string &program, const std::string &utf8);

// Writes what is left for standard output; a report that can't be written is thrown as a Problem.
void finishOutput();

// An argument of the command line in UTF-8. It comes in the encoding of the locale; one that
// doesn't would be misread and is thrown as a Problem.
std::string fromArgument(const std::string &argument);

// What is wrong with an argument that must not be empty; empty for nothing.
std::string emptiness(const std::string &argument);

inline bool equalsIgnoringCase(std::string_view left, std::string_view right)
{
    return left.size() == right.size() && strncasecmp(left.data(), right.data(), left.size()) == 0;
}
