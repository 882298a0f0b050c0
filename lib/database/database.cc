// SPDX-License-Identifier: GPL-2.0-or-later
#include "database/database.h"

#include "text/encoding.h"

#include <cerrno>
#include <cstring>
#include <unistd.h>

namespace yat {
namespace {

// Why the file, or its log, could not be read or written last; 0 for no such reason.
int systemError(sqlite3 *handle)
{
    for (const int which : {SQLITE_FCNTL_FILE_POINTER, SQLITE_FCNTL_JOURNAL_POINTER}) {
        sqlite3_file *file = nullptr;
        int error = 0;
        sqlite3_file_control(handle, "main", which, &file); // leaves it null where it fails
        if (file && file->pMethods
            && file->pMethods->xFileControl(file, SQLITE_FCNTL_LAST_ERRNO, &error) == SQLITE_OK
            && error != 0)
            return error;
    }
    return sqlite3_system_errno(handle);
}

std::string explanation(int code, const char *text, int systemError)
{
    // SQLite takes a disk that can't be read now for a file that is damaged.
    switch (systemError != 0 ? code : SQLITE_OK) {
    case SQLITE_IOERR:
    case SQLITE_CORRUPT: return " can't be used: " + reason(systemError);
    }
    switch (code) {
    case SQLITE_NOTADB:
        return " is damaged or belongs to another program and was left alone; move it away to "
               "start afresh";
    case SQLITE_CORRUPT: return std::string(" is damaged: ") + text;
    case SQLITE_BUSY: return " is in use by another program; try again when that has finished";
    case SQLITE_FULL: return " can't be written: the disk is full";
    case SQLITE_READONLY: return " can't be written: it is read-only";
    default: return std::string(" can't be used: ") + text;
    }
}

// A machine needs few of the 20 pages that SQLite would make room for in each connection. That can
// be changed before its first use only; where that is over, so be it.
void saveMemory()
{
    static const int result = sqlite3_config(SQLITE_CONFIG_PAGECACHE, nullptr, 0, 0);
    static_cast<void>(result);
}

} // namespace

// A connection belongs to one thread, as the calls do: it needs no lock for each value it gives.
Database::Database(const std::string &path, int flags, const std::string &name)
    : file(fromDisplay(name.empty() ? path : name))
{
    saveMemory();
    sqlite3 *opened = nullptr; // also where that fails
    flags |= SQLITE_OPEN_NOMUTEX;
    if (geteuid() == 0) // a user's own path may lead by links
        flags |= SQLITE_OPEN_NOFOLLOW;
    const int result = sqlite3_open_v2(path.c_str(), &opened, flags, nullptr);
    handle.reset(opened);
    if (result != SQLITE_OK) // there is no file to ask, but nothing else has failed
        throw SqliteError(result, file + explanation(result, sqlite3_errstr(result), errno));
    sqlite3_busy_timeout(opened, longestWait);
    sqlite3_db_config(opened, SQLITE_DBCONFIG_ENABLE_VIEW, 0, nullptr); // it may have no end
}

void Database::exec(const std::string &sql) const
{
    require(sqlite3_exec(handle.get(), sql.c_str(), nullptr, nullptr, nullptr));
}

sqlite3_stmt *Database::prepared(const char *sql)
{
    const auto known = statements.find(std::string_view(sql));
    if (known != statements.end())
        return known->second.get();
    sqlite3_stmt *statement = nullptr;
    require(sqlite3_prepare_v2(handle.get(), sql, -1, &statement, nullptr));
    StatementHandle prepared(statement);
    return statements.emplace(sql, std::move(prepared)).first->second.get();
}

int64_t Database::number(const char *sql)
{
    int64_t result = 0;
    each(prepared(sql), [&](sqlite3_stmt *row) { result = sqlite3_column_int64(row, 0); });
    return result;
}

void Database::require(int result) const
{
    if (result != SQLITE_OK)
        fail(result);
}

void Database::fail(int code) const
{
    sqlite3 *failed = handle.get();
    throw SqliteError(code, file + explanation(code, sqlite3_errmsg(failed), systemError(failed)));
}

void Database::setSynced(bool wanted)
{
    if (wanted != isSynced)
        exec(wanted ? "PRAGMA synchronous = FULL" : "PRAGMA synchronous = NORMAL");
    isSynced = wanted;
}

bool Database::isStillThere() const
{
    int hasMoved = 0;
    return sqlite3_file_control(handle.get(), "main", SQLITE_FCNTL_HAS_MOVED, &hasMoved)
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
    if (sqlite3_file_control(handle.get(), "main", SQLITE_FCNTL_FILE_POINTER, &main) != SQLITE_OK
        || main->pMethods->xShmMap(main, 0, regionSize, 0, &shared) != SQLITE_OK || !shared)
        return {};
    CommitMark mark;
    memcpy(mark.data(), const_cast<const void *>(shared), mark.size());
    return mark;
}

Transaction::Transaction(const Database &begun, bool writes, int patience) : database(begun)
{
    sqlite3 *handle = database.handle.get();
    sqlite3_busy_timeout(handle, patience);
    const int result =
        sqlite3_exec(handle, writes ? "BEGIN IMMEDIATE" : "BEGIN", nullptr, nullptr, nullptr);
    sqlite3_busy_timeout(handle, longestWait);
    database.require(result);
}

Transaction::~Transaction()
{
    if (!isCommitted) // what fails here was undone before
        sqlite3_exec(database.handle.get(), "ROLLBACK", nullptr, nullptr, nullptr);
}

void Transaction::commit()
{
    database.exec("COMMIT");
    isCommitted = true;
}

} // namespace yat
