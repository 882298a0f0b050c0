// SPDX-License-Identifier: GPL-2.0-or-later
// SQLite's handles as values: what was opened is closed again, and what fails is thrown. SQLiteCpp
// does the same, but with streams, which bring the C++ library's locales along: a third of what
// yatcore.dll was, and 0.6 MB of each program's memory.
#pragma once

#include <cstdint>
#include <memory>
#include <sqlite3.h>
#include <stdexcept>
#include <string>
#include <string_view>

namespace sim {

struct SqliteError : std::runtime_error {
    SqliteError(int result, const char *text) : std::runtime_error(text), code(result) {}
    int code; // SQLITE_...
};

struct SqliteEnd {
    void operator()(sqlite3 *connection) const
    {
        sqlite3_close(connection);
    }
    void operator()(sqlite3_stmt *statement) const
    {
        sqlite3_finalize(statement);
    }
};

// A connection to a database, and how long it waits for another one that writes, in milliseconds.
class Connection {
public:
    Connection(const std::string &path, int flags, int patience); // SQLITE_OPEN_...
    void exec(const std::string &sql);
    sqlite3 *handle() const
    {
        return database.get();
    }

private:
    std::unique_ptr<sqlite3, SqliteEnd> database;
};

// A prepared statement. Positions of values begin with 1, columns of the row that it is at with 0.
class Statement {
public:
    Statement(const Connection &connection, const char *sql);

    void bind(int position); // null
    void bind(int position, int64_t value);
    void bind(int position, double value);
    void bind(int position, const std::string &value);
    void bindBlob(int position, std::string_view bytes);

    bool step(); // to the next row; false when there is none
    void reset()
    {
        sqlite3_reset(statement.get());
    }

    int type(int column) const
    {
        return sqlite3_column_type(statement.get(), column);
    }
    int64_t integer(int column) const
    {
        return sqlite3_column_int64(statement.get(), column);
    }
    double real(int column) const
    {
        return sqlite3_column_double(statement.get(), column);
    }
    std::string_view bytes(int column) const; // of a text or a blob, until the next step

private:
    void check(int result) const;

    std::unique_ptr<sqlite3_stmt, SqliteEnd> statement;
};

// Undoes what was done in it unless that is committed.
class Transaction {
public:
    // One that writes begins by waiting for the others that do.
    explicit Transaction(Connection &connection, bool writes = false);
    ~Transaction();
    Transaction(const Transaction &) = delete;
    Transaction &operator=(const Transaction &) = delete;
    void commit();

private:
    Connection &connection;
    bool isCommitted = false;
};

} // namespace sim
