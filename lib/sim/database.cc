// SPDX-License-Identifier: GPL-2.0-or-later
#include "sim/database.h"

#include "text/encoding.h"

#include <cerrno>
#include <cstring>

namespace sim {
namespace {

// Why the file, or its log, could not be read or written last; 0 for no such reason.
int systemError(sqlite3 *handle)
{
    for (const int which : {SQLITE_FCNTL_FILE_POINTER, SQLITE_FCNTL_JOURNAL_POINTER}) {
        sqlite3_file *file = nullptr;
        int error = 0;
        if (sqlite3_file_control(handle, "main", which, &file) == SQLITE_OK && file
            && file->pMethods
            && file->pMethods->xFileControl(file, SQLITE_FCNTL_LAST_ERRNO, &error) == SQLITE_OK
            && error != 0)
            return error;
    }
    return sqlite3_system_errno(handle);
}

std::string explanation(const SqliteError &error, int systemError)
{
    // SQLite takes a disk that can't be read now for a file that is damaged.
    const int code = error.code;
    if (systemError != 0
        && (code == SQLITE_IOERR || code == SQLITE_CORRUPT || code == SQLITE_NOTADB))
        return "can't be used: " + yat::reason(systemError);
    switch (code) {
    case SQLITE_NOTADB:
        return "is damaged or belongs to another program and was left alone; move it away to start "
               "afresh";
    case SQLITE_CORRUPT: return std::string("is damaged: ") + error.what();
    case SQLITE_BUSY: return "is in use by another program; try again when that has finished";
    case SQLITE_FULL: return "can't be written: the disk is full";
    case SQLITE_READONLY: return "can't be written: it is read-only";
    default: return std::string("can't be used: ") + error.what();
    }
}

} // namespace

// A connection belongs to one thread, as the calls do: it needs no lock for each value it gives.
Database::Database(const std::string &path, int flags)
try : file(yat::fromDisplay(path)), connection(path, flags | SQLITE_OPEN_NOMUTEX, longestWait) {
} catch (const SqliteError &error) { // there is no handle to ask, but nothing else has failed
    throw yat::Problem(yat::fromDisplay(path) + " " + explanation(error, errno));
}

Statement &Database::prepared(const char *sql)
{
    const auto known = statements.find(std::string_view(sql));
    return known != statements.end()
               ? known->second
               : statements.emplace(sql, Statement(connection, sql)).first->second;
}

int64_t Database::number(const char *sql)
{
    int64_t result = 0;
    each(sql, [&](const QueryRow &row) { result = row.integer(0); });
    return result;
}

void Database::setSynced(bool wanted)
{
    if (wanted != isSynced)
        connection.exec(wanted ? "PRAGMA synchronous = FULL" : "PRAGMA synchronous = NORMAL");
    isSynced = wanted;
}

yat::Problem Database::problem(const SqliteError &error) const
{
    return yat::Problem(file + " " + explanation(error, systemError(connection.handle())));
}

bool Database::isStillThere() const
{
    int hasMoved = 0;
    return sqlite3_file_control(connection.handle(), "main", SQLITE_FCNTL_HAS_MOVED, &hasMoved)
               == SQLITE_OK
           && !hasMoved;
}

// The shared memory of a database with a log begins with a header of this size, which each commit
// writes and whose change counter and checksums no two commits share (sqlite.org/walformat.html).
// It is only compared: whatever else it may be one day, what differs is read anew.
std::optional<CommitMark> Database::commitMark() const
{
    constexpr int regionSize = 32768;
    sqlite3_file *main = nullptr;
    volatile void *shared = nullptr;
    if (sqlite3_file_control(connection.handle(), "main", SQLITE_FCNTL_FILE_POINTER, &main)
            != SQLITE_OK
        || main->pMethods->xShmMap(main, 0, regionSize, 0, &shared) != SQLITE_OK || !shared)
        return {};
    CommitMark mark;
    memcpy(mark.data(), const_cast<const void *>(shared), mark.size());
    return mark;
}

} // namespace sim
