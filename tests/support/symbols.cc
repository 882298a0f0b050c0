// SPDX-License-Identifier: GPL-2.0-or-later
#include "symbols.h"

#include "files.h"
#include "process.h"

#include <sstream>
#include <stdexcept>

namespace {

std::vector<Symbol> symbols(const char *which, const std::filesystem::path &object)
{
    const Finished listed = run({NM, "-D", "--format=posix", which, object.string()});
    if (listed.status != 0)
        throw std::runtime_error(listed.errors);
    std::vector<Symbol> result;
    for (const std::string &line : linesOf(listed.output)) {
        Symbol symbol;
        std::istringstream(line) >> symbol.name >> symbol.kind; // and its address
        result.push_back(symbol);
    }
    return result;
}

} // namespace

std::vector<Symbol> definedSymbols(const std::filesystem::path &object)
{
    return symbols("--defined-only", object);
}

std::vector<Symbol> undefinedSymbols(const std::filesystem::path &object)
{
    return symbols("--undefined-only", object);
}
