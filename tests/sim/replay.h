// SPDX-License-Identifier: GPL-2.0-or-later
// The machine once more, as its journal tells what happened to it: each row is carried out on a
// model of its own. A row without its change, or a change without its row, makes the two differ.
#pragma once

#include "sim/injection.h"
#include "sim/store.h"

#include <string>
#include <vector>

struct Replay {
    sim::Machine machine;
    int64_t last = 0;                       // row that was followed
    std::vector<sim::Injection> injections; // for operations
    std::vector<sim::JournalRow> rows{};    // those that were new the last time
};

// Follows what is new in the journal, and compares. What is wrong, or empty: a row that is missing,
// a result that the machine would not have given, a call that took a running pair down, a machine
// that is not as its journal has it.
std::string follow(Replay &replay, sim::Store &store);
