// What a shared object defines for others.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

struct Symbol {
    char kind; // as nm has it: 'T' for a function
    std::string name;
};

std::vector<Symbol> definedSymbols(const std::filesystem::path &object);
