// The machine in the tables of its file.
#pragma once

#include "sim/clock.h"
#include "sim/database.h"
#include "sim/machine.h"
#include "sim/rows.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace sim {

constexpr int applicationId = 0x59415453; // "YATS"

// The statements that make all tables of a file, those of injections and of the journal too.
std::string schema();

// A number for these statements: a file that was made by others is not read.
int32_t layoutOf(std::string_view schema);

// A machine with its clock, where it comes from, and what its calls answer instead of the truth.
struct MachineState {
    Machine machine{};
    Clock clock{};
    std::string origin{};        // the file of the description that it was made from
    int64_t descriptionHash = 0; // of that file as it was
    std::vector<Injection> injections{}; // the oldest first
};

// Reads it. Rows that don't fit together are thrown as damage of the file.
MachineState readMachine(Database &database);

// Writes a machine, in place of the one that may be there.
void writeMachine(Database &database, MachineState &state);

// Writes what has changed of the machine since it was last read or written.
void writeChanges(Database &database, MachineState &state);

void writeInjections(Database &database, std::vector<Injection> &injections);

} // namespace sim
