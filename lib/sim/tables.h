// The machine in the tables of its file.
#pragma once

#include "sim/clock.h"
#include "sim/database.h"
#include "sim/machine.h"

#include <cstdint>
#include <string>

namespace sim {

// What there is to know about a machine and where it comes from.
struct MachineState {
    Machine machine;
    Clock clock;
    std::string origin;           // the file of the description that it was made from
    uint64_t descriptionHash = 0; // of that file as it was
};

// Reads it; what can't be is thrown as damage of the file.
MachineState readMachine(Database &database);

// Writes a machine in the place of another one, or of none.
void writeMachine(Database &database, MachineState &state);

// Writes what changed since it was read or written last.
void writeChanges(Database &database, MachineState &state);

} // namespace sim
