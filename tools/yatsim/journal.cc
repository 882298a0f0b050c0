// SPDX-License-Identifier: GPL-2.0-or-later
#include "yatsim/journal.h"

#include "sim/statefile.h"
#include "text/encoding.h"

#include <algorithm>
#include <filesystem>
#include <unistd.h>

namespace sim {
namespace {

// The name of a file for SQLite, which makes nothing beside it.
std::string unchanging(const std::string &file)
{
    std::string name = "file:";
    for (const char byte : file)
        name += byte == '%'   ? "%25"
                : byte == '?' ? "%3f"
                : byte == '#' ? "%23"
                              : std::string(1, byte);
    return name + "?immutable=1";
}

// Opening a FIFO would wait for somebody who writes to it.
void requireRegular(const std::string &file)
{
    using enum std::filesystem::file_type;
    std::error_code error; // is left to who opens the file
    const auto type = std::filesystem::status(file, error).type();
    if (type != regular && type != not_found && type != none)
        throw yat::Problem(yat::fromDisplay(file) + " can't be read: it is not a regular file");
}

// Where a program works on the file, SQLite reads its log by the memory that they share. It would
// make both where there are none, so it has to be told then that nobody writes; whether that held
// is seen afterwards.
bool tryToRead(const std::string &file, const std::function<void(yat::Database &)> &work)
{
    for (const char *ending : {"", "-wal", "-shm", "-journal"})
        requireRegular(file + ending);
    std::error_code error; // the file may go meanwhile: opening it tells of that
    const auto isInUse = [&] { return std::filesystem::exists(file + "-wal", error); };
    const auto lastWrite = [&] { return std::filesystem::last_write_time(file, error); };
    const auto before = lastWrite();
    const bool wasInUse = isInUse();
    try {
        yat::Database database(wasInUse ? file : unchanging(file),
                               SQLITE_OPEN_READONLY | SQLITE_OPEN_URI, file);
        checkVersion(database);
        work(database);
    } catch (const yat::Problem &problem) {
        if (wasInUse != isInUse())
            return false;
        const auto *error = dynamic_cast<const yat::SqliteError *>(&problem);
        if (wasInUse && error && error->code == SQLITE_CANTOPEN)
            throw yat::Problem(yat::fromDisplay(file)
                               + " can't be read: a program was killed while it worked on it; "
                                 "a user who may write it has to run 'yatsim list' first");
        throw;
    }
    return wasInUse || (!isInUse() && lastWrite() == before);
}

} // namespace

void readStateFile(const std::string &file, const std::function<void(yat::Database &)> &work)
{
    for (int tries = 0; tries < 100; ++tries)
        if (tryToRead(file, work))
            return;
    throw yat::Problem(yat::fromDisplay(file)
                       + " is in use by another program; try again when that has finished");
}

void readJournal(Store &store, int64_t last, const OnRow &work)
{
    openStore(store);
    readJournal(*store.database, last, work);
}

void readJournal(const yat::ConfiguredMachine &machine, int64_t last, const OnRow &work)
{
    const std::string directory = wantedDirectory(), file = stateFileIn(directory, machine);
    const std::string folder = file.substr(0, file.rfind('/'));
    if (directory.empty() || access(file.c_str(), R_OK) != 0 || access(folder.c_str(), W_OK) == 0) {
        Store store = configuredStore(machine);
        return readJournal(store, last, work);
    }
    std::vector<JournalRow> rows;
    readStateFile(file, [&](yat::Database &database) {
        rows.clear();
        readJournal(database, last, [&](const JournalRow &row) { rows.push_back(row); });
    });
    std::ranges::for_each(rows, work);
}

} // namespace sim
