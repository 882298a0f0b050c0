// SPDX-License-Identifier: GPL-2.0-or-later
// The journal of a machine.
#pragma once

#include "sim/store.h"

namespace sim {

// Calls work for the last rows of the journal, 0 for all, the oldest first.
using OnRow = std::function<void(const JournalRow &)>;
void readJournal(Store &store, int64_t last, const OnRow &work);

// The same of a configured machine. Whoever may read the state directory that YAT_STATE_DIR names,
// but not write it, reads what is in it, and changes nothing.
void readJournal(const yat::ConfiguredMachine &machine, int64_t last, const OnRow &work);

// Reads a file that this user may read and not write: work is called with it, and once more when
// others have written it meanwhile. Nothing is left beside it.
void readStateFile(const std::string &file, const std::function<void(yat::Database &)> &work);

} // namespace sim
