// SPDX-License-Identifier: GPL-2.0-or-later
// Tables for people.
#pragma once

#include <string>
#include <vector>

using Row = std::vector<std::string>; // cells in UTF-8

// Prints rows in columns that are aligned as the terminal shows them, in the encoding of the
// locale.
void printTable(const std::vector<Row> &utf8);
