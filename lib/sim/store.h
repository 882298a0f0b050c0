// SPDX-License-Identifier: GPL-2.0-or-later
// The state of a simulated machine in its file, shared by all programs that work on the machine.
//
// What the file says stays in memory until another process writes; only then a look reads it again,
// in one transaction. What becomes due, and each operation with its row of the journal, is written
// in one transaction: all of it or nothing. A look never waits for another program. Functions throw
// yat::Problem when the file can't be used, and leave it as it was.
#pragma once

#include "common/caller.h"
#include "common/configuration.h"
#include "sim/orders.h"
#include "sim/tables.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace sim {

struct Store {
    std::string file;                    // NAME.db
    std::string descriptionFile;         // what a machine without a state is made from
    std::optional<yat::Caller> caller{}; // for the journal; the user of this process if none

    std::unique_ptr<yat::Database> database{}; // when it is open
    MachineState state{};                      // as the file has it, and the time as it is
    std::optional<int64_t> version{};          // of the file when it was read, as SQLite counts it
    std::optional<yat::CommitMark> mark{};     // of the file when it was read, or older
    bool isWriting = false;
};

// The store of a simulated machine. A mistake in the environment is thrown.
Store configuredStore(const yat::ConfiguredMachine &machine = yat::configuredMachine());

// Reads and checks a description file. Its mistakes are thrown as one yat::Problem, a line each.
Machine readDescription(const std::string &file);

// Puts a machine in the place of the one that may be there, as it would be then.
void putMachine(yat::Database &database, MachineState &state, const Machine &machine, Time now);

// The absolute path of a file; the path as given where that can't be found out.
std::string wholePath(const std::string &file);

// The state directory that the environment names, empty when it names none; and the file in one.
std::string wantedDirectory();
std::string stateFileIn(const std::string &directory, const yat::ConfiguredMachine &machine);

// Opens the file, as the other functions do by themselves, and makes it from the description when
// there is none. True when it was made.
bool openStore(Store &store);

// The machine as it is now; it stays in place until the next call on the store.
const Machine &look(Store &store);

// What the calls are to answer instead of the truth, the oldest first. Costs nothing as long as
// nobody writes.
const std::vector<Injection> &injections(Store &store);

// Runs work on the machine as it is now in one transaction, while nobody else writes. Calls may be
// nested: the inner work is a part of the outer one's transaction.
void write(Store &store, const std::function<void()> &work);

// Carries an operation out and puts it into the journal. It is on the disk when this returns.
Refusal perform(Store &store, const Order &order);

// Puts a row into the journal, as a part of work that writes; who, and when, is filled in here.
void writeDown(Store &store, JournalRow row);

// The journal's row for an operation.
JournalRow rowOf(const Order &order, const std::string &result);

} // namespace sim
