// SPDX-License-Identifier: GPL-2.0-or-later
// A database in a file that several programs share: SQLite's handles as values. What was opened is
// closed again, what fails is thrown, and other writers are noticed. SQLiteCpp does much of that,
// but with streams, which bring the C++ library's locales along: a third of what yatcore.dll was,
// and 0.6 MB of each program's memory.
#pragma once

#include "common/problem.h"

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <sqlite3.h>
#include <string>

namespace yat {

struct SqliteError : Problem {
    SqliteError(int result, const std::string &text) : Problem(text), code(result) {}
    int code; // SQLITE_...
};

struct SqliteEnd {
    void operator()(sqlite3 *database) const
    {
        sqlite3_close(database);
    }
    void operator()(sqlite3_stmt *statement) const
    {
        sqlite3_finalize(statement);
    }
};

using StatementHandle = std::unique_ptr<sqlite3_stmt, SqliteEnd>;

// What differs after each commit, by whatever process.
using CommitMark = std::array<unsigned char, 48>;

constexpr int longestWait = 10'000; // milliseconds, for another process that writes

struct Database {
    // flags are SQLITE_OPEN_...; path may be a URI, which messages have another name for.
    Database(const std::string &path, int flags, const std::string &name = {});

    void exec(const std::string &sql) const;

    // A statement, prepared at its first use.
    sqlite3_stmt *prepared(const char *sql);

    // Runs a statement, and calls work for each row.
    template <class Work> void each(sqlite3_stmt *statement, Work work) const;
    int64_t number(const char *sql); // the first value of the first row

    // Throws what a call of SQLite's failed with.
    void require(int result) const;
    [[noreturn]] void fail(int code) const;

    // Whether a commit from now on returns only when it is on the disk, which takes its time.
    void setSynced(bool wanted);

    // False when the file of that name has been replaced or removed.
    bool isStillThere() const;

    // Read from the memory that all connections share: no system call, no transaction. None while
    // there is no such memory.
    std::optional<CommitMark> commitMark() const;

    std::string file; // as messages have it, in UTF-8
    std::unique_ptr<sqlite3, SqliteEnd> handle{};
    std::map<std::string, StatementHandle, std::less<>> statements{};

private:
    bool isSynced = true; // as SQLite begins
};

// Ends a query, also when an exception does: a query that goes on keeps its transaction open.
struct QueryEnd {
    sqlite3_stmt *statement;
    ~QueryEnd()
    {
        sqlite3_reset(statement);
    }
};

template <class Work> void Database::each(sqlite3_stmt *statement, Work work) const
{
    const QueryEnd end{statement};
    int result;
    while ((result = sqlite3_step(statement)) == SQLITE_ROW)
        work(statement);
    if (result != SQLITE_DONE)
        fail(result);
}

// Undoes what was done in it unless that is committed.
class Transaction {
public:
    // One that writes begins by waiting for the others that do, for so many milliseconds at most.
    explicit Transaction(const Database &database, bool writes = false, int patience = longestWait);
    ~Transaction();
    Transaction(const Transaction &) = delete;
    Transaction &operator=(const Transaction &) = delete;
    void commit();

private:
    const Database &database;
    bool isCommitted = false;
};

} // namespace yat
