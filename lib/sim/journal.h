// The journal of what was asked of a machine.
#pragma once

#include "common/caller.h"
#include "sim/database.h"

#include <cstdint>
#include <functional>
#include <string>

namespace sim {

struct JournalRow {
    int64_t id = 0;
    int64_t simulated = 0, real = 0; // when, by the machine's clock and by the system's
    std::string user{}, terminal{}, device{}, operation{};
    int code = 0;
    std::string argument{}, result{};
};

void writeJournal(Database &database, const yat::Caller &caller, const JournalRow &row);

// Calls work for the last rows, 0 for all, the oldest first.
void readJournal(Database &database, int64_t last,
                 const std::function<void(const JournalRow &)> &work);

} // namespace sim
