// The state of a simulated machine in its file, shared by all programs that work on the machine.
//
// What the file says stays in memory until another process writes: who only looks reads it then,
// in one transaction, and never waits. What becomes due, and each operation with its row of the
// journal, is one transaction that writes: all of it or nothing. Functions throw yat::Problem when
// the file can't be used, and leave it as it was.
#pragma once

#include "common/machine.h"
#include "sim/caller.h"
#include "sim/description.h"
#include "sim/injection.h"
#include "sim/journal.h"
#include "sim/operations.h"
#include "sim/tables.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace sim {

struct Store {
    std::string file;               // NAME.db
    std::string descriptionFile;    // what a machine is made from that has no state yet
    std::optional<Caller> caller{}; // for the journal; who runs this process when there is none

    std::unique_ptr<Database> database{}; // when it is open
    MachineState state{};                 // as the file has it, and the time as it is
    std::vector<Injection> injections{};
    std::optional<int64_t> version{}; // of the file that these are from, as SQLite counts it
    CommitMark mark{};                // which that file had, or an older one
    bool isWriting = false;
};

// The store of a simulated machine. A mistake in the environment is thrown.
Store configuredStore(const yat::ConfiguredMachine &machine = yat::configuredMachine());

// A description with where it comes from.
struct Source {
    std::string file, text;
    Description description;
};

// Reads and checks a description file. Its mistakes are thrown as one yat::Problem, a line each.
Source readSource(const std::string &file);

// The path of a file from the root on; the same as given where that can't be found out.
std::string wholePath(const std::string &file);

// Opens the file, which other functions do by themselves, and makes it from the description when
// there is none. True when it was made.
bool openStore(Store &store);

// Whether what is in memory is what the file has. Costs nothing; at worst, it is not known.
bool isCurrent(const Store &store);

// Brings what is in memory up to the file, if anybody else wrote to it.
void refresh(Store &store);

// The machine as it is now; it stays in place until the next call on the store.
const Machine &look(Store &store);

// Lets work happen on the machine as it is now, whole or not at all, while nobody else writes;
// also as a part of another such work.
void write(Store &store, const std::function<void()> &work);

// Carries an operation out and puts it into the journal. It is on the disk then.
Refusal perform(Store &store, const Operation &operation);

// Puts a row into the journal, as a part of work that writes; it lacks the times only.
void writeDown(Store &store, JournalRow row);

// A row for what was asked of a device.
JournalRow rowOf(const Operation &operation, const std::string &result);

// Puts an operation that was refused before it came to the machine into the journal. The row has
// the reason as its result.
void refuse(Store &store, JournalRow row);

// A machine made anew from a description. The journal goes on. Mistakes in the description are
// thrown as one yat::Problem with a line each.
void resetMachine(Store &store); // from descriptionFile
void importMachine(Store &store, const std::string &file);

// Whether the machine is still that of its description file: empty, or what to know about it.
std::string descriptionNote(Store &store);

// The clock, as it is and at this moment.
Clock clockOf(Store &store);

// Calls work for the last rows of the journal, 0 for all, the oldest first.
void readJournal(Store &store, int64_t last, const std::function<void(const JournalRow &)> &work);

} // namespace sim
