// The machine in the tables of its file.
#pragma once

#include "sim/clock.h"
#include "sim/description.h"
#include "sim/machine.h"
#include "sim/sqlite.h"

#include <memory>
#include <string>

namespace sim {

// A description with where it comes from.
struct Source {
    std::string file, text;
    std::shared_ptr<const Description> description;
};

// Reads and checks a description file. Its mistakes are thrown as one yat::Problem, a line each.
Source readSource(const std::string &file);

// The machine as it was written last, and the clock with it.
struct Written {
    Machine machine; // at the clock's own moment
    Clock clock;
};

// The description in the tables, kept until there is another one.
struct KnownDescription {
    int64_t generation = 0;
    std::shared_ptr<const Description> description;
};

// Reads the machine; what can't be is thrown as damage of the file.
Written readMachine(Database &database, KnownDescription &known);

// Writes a machine in the place of another one, or of none.
void putMachine(Database &database, const Source &source, const Clock &clock, int64_t generation);

// Writes the clock, and what is not as it was.
void writeChanges(Database &database, const Machine &before, const Machine &after,
                  const Clock &clock);

} // namespace sim
