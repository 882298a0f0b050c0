// SPDX-License-Identifier: GPL-2.0-or-later
// What a shared object defines for others, and what it wants of them.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

struct Symbol {
    char kind; // as nm has it: 'T' for a function
    std::string name;
};

std::vector<Symbol> definedSymbols(const std::filesystem::path &object);

std::vector<Symbol> undefinedSymbols(const std::filesystem::path &object);
