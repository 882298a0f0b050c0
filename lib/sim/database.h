// SPDX-License-Identifier: GPL-2.0-or-later
// The database that holds a machine's state: it keeps prepared statements, says what an error
// means, and notices other writers.
#pragma once

#include "common/problem.h"
#include "sim/sqlite.h"

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <string>

namespace sim {

using QueryRow = Statement; // of a query that runs

// What differs after each commit, by whatever process.
using CommitMark = std::array<unsigned char, 48>;

constexpr int longestWait = 10'000; // milliseconds, for another process that writes

struct Database {
    Database(const std::string &path, int flags); // SQLITE_OPEN_...

    // A statement, prepared at its first use.
    Statement &prepared(const char *sql);

    // Runs a statement, and calls work for each row.
    template <class Work, class... Values>
    void each(const char *sql, Work work, const Values &...values);
    template <class... Values> void run(const char *sql, const Values &...values);
    int64_t number(const char *sql); // the first value of the first row

    // Whether a commit from now on returns only when it is on the disk, which takes its time.
    void setSynced(bool wanted);

    yat::Problem problem(const SqliteError &error) const;

    // False when the file of that name has been replaced or removed.
    bool isStillThere() const;

    // Read from the memory that all connections share: no system call, no transaction. None while
    // there is no such memory.
    std::optional<CommitMark> commitMark() const;

    std::string file; // as messages have it, in UTF-8
    Connection connection;
    std::map<std::string, Statement, std::less<>> statements;

private:
    bool isSynced = true; // as SQLite begins
};

// Ends a query, also when an exception does: a query that goes on keeps its transaction open.
struct QueryEnd {
    Statement &statement;
    ~QueryEnd()
    {
        statement.reset();
    }
};

template <class Work, class... Values>
void Database::each(const char *sql, Work work, const Values &...values)
{
    Statement &statement = prepared(sql);
    const QueryEnd end{statement};
    int position = 0;
    (statement.bind(++position, values), ...);
    while (statement.step())
        work(statement);
}

template <class... Values> void Database::run(const char *sql, const Values &...values)
{
    each(
        sql, [](const QueryRow &) {}, values...);
}

} // namespace sim
