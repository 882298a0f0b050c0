// SPDX-License-Identifier: GPL-2.0-or-later
// The tables of a state file: the machine, what its calls are to answer instead of the truth, and
// the journal of what was asked of it.
#pragma once

#include "database/database.h"
#include "sim/clock.h"
#include "sim/machine.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace sim {

struct Injection {
    int64_t id = 0; // the journal's row of the injection; the oldest ones come first
    std::string call{};
    std::optional<int> result{}; // none: the call's real result
    int times = 1;               // 0: without end
    int delay = 0;               // milliseconds
    std::optional<std::string> text{};
    bool operator==(const Injection &) const = default;
};

constexpr int mostTimes = 1'000'000'000, longestDelay = 86'400'000;

struct JournalRow {
    std::optional<int64_t> id{};     // of one that is written down
    int64_t simulated = 0, real = 0; // when, by the machine's clock and by the system's
    std::string user{}, terminal{}, device{}, operation{};
    int code = 0;
    std::string argument{}, result{};
};

// A machine with its clock and its injections.
struct MachineState {
    Machine machine{};
    Clock clock{};
    std::vector<Injection> injections{};
};

constexpr int applicationId = 0x59415453; // "YATS"
constexpr int stateVersion = 1;           // of the tables and of what may be in them

// The statements that make all tables.
std::string schema();

// Reads all but the journal. What can't be is thrown as damage of the file.
MachineState readState(yat::Database &database);

// Writes a machine, in place of the one that may be there.
void writeMachine(yat::Database &database, MachineState &state);

// Writes what has changed of the machine since it was last read or written.
void writeChanges(yat::Database &database, MachineState &state);

void writeInjections(yat::Database &database, std::vector<Injection> &injections);

void addToJournal(yat::Database &database, JournalRow row);

// Calls work for the last rows of the journal, 0 for all, the oldest first.
void readJournal(yat::Database &database, int64_t last,
                 const std::function<void(const JournalRow &)> &work);

} // namespace sim
