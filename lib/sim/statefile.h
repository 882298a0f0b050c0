// The file that holds the state of a machine: how it comes to be, and which files are taken for
// one.
#pragma once

#include "sim/sqlite.h"

#include <memory>
#include <string>

namespace sim {

// Who asks for an operation, for the journal.
struct Asker {
    std::string user, terminal; // "" for no terminal
};

// The user of this process; the terminal of its standard input or, when that is none, the one that
// controls the process.
Asker whoAsks();

// The path of a file from the root on; the same as given where that can't be found out.
std::string wholePath(const std::string &file);

// Makes the file from a description, whole or not at all, unless there is a file of that name.
// True when it was made.
bool createStateFile(const std::string &file, const std::string &descriptionFile,
                     const Asker &asker);

// Opens the file and brings its tables to the present version. One that is damaged, of another
// program or of a newer version of this one is refused and left as it is.
std::unique_ptr<Database> openStateFile(const std::string &file);

// What the tables of a file, and all that belongs to them, were made with.
std::string schemaOf(Database &database);

// A line of the journal.
struct JournalRow {
    int64_t id = 0;
    int64_t simulated = 0, real = 0; // when, by the machine's clock and by the system's
    std::string user{}, terminal{}, device{}, operation{};
    int code = 0;
    std::string argument{}, result{};
};
void writeJournal(Database &database, const Asker &asker, const JournalRow &row);

} // namespace sim
