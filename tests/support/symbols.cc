#include "symbols.h"

#include "process.h"

#include <sstream>
#include <stdexcept>

std::vector<Symbol> definedSymbols(const std::filesystem::path &object)
{
    const Finished listed = run({NM, "-D", "--defined-only", object.string()});
    if (listed.status != 0)
        throw std::runtime_error(listed.errors);
    std::vector<Symbol> symbols;
    std::istringstream lines(listed.output);
    std::string address;
    for (Symbol symbol; lines >> address >> symbol.kind >> symbol.name;)
        symbols.push_back(symbol);
    return symbols;
}
