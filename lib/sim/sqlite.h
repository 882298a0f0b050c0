// SQLite as the store uses it: connections and statements that end by themselves, and errors as
// exceptions that say what can't be done with which file.
#pragma once

#include "common/problem.h"

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <sqlite3.h>
#include <string>
#include <string_view>
#include <utility>

namespace sim {

class Query;

// A connection to a database file. It waits for others up to ten seconds.
class Database {
public:
    Database(const std::string &file, int flags); // SQLITE_OPEN_...
    ~Database();
    Database(const Database &) = delete;
    Database &operator=(const Database &) = delete;

    // A statement with its arguments; it is prepared once for each text.
    template <class... Arguments> Query query(const char *sql, const Arguments &...arguments);

    // One that gives a row, and this row; without it, the file is damaged.
    template <class... Arguments> Query row(const char *sql, const Arguments &...arguments);

    // A statement that gives no rows.
    template <class... Arguments> void run(const char *sql, const Arguments &...arguments);

    void script(const char *sql);    // any number of statements
    int64_t number(const char *sql); // the first value of the first row

    // Lets work happen whole or not at all; nobody else writes meanwhile.
    void transaction(const std::function<void()> &work);

    [[noreturn]] void fail() const; // with what SQLite says

    // False when the file of that name is another one by now, or none.
    bool isStillThere() const;

    const std::string file; // as messages have it, in UTF-8
    sqlite3 *handle = nullptr;

private:
    sqlite3_stmt *prepared(const char *sql);
    std::map<std::string, sqlite3_stmt *, std::less<>> statements;
};

// A statement that runs.
class Query {
public:
    template <class... Arguments>
    Query(Database &where, sqlite3_stmt *what, const Arguments &...arguments)
        : database(where), statement(what)
    {
        int position = 0;
        (check(bind(++position, arguments)), ...);
    }
    ~Query()
    {
        sqlite3_reset(statement);
    }
    Query(Query &&other) noexcept
        : database(other.database), statement(std::exchange(other.statement, nullptr))
    {
    }
    Query &operator=(Query &&) = delete;

    bool next(); // the next row, if there is one

    bool isNull(int column) const;
    int64_t integer(int column) const
    {
        return sqlite3_column_int64(statement, column);
    }
    int number(int column) const; // an integer, made to fit
    double real(int column) const
    {
        return sqlite3_column_double(statement, column);
    }
    std::string text(int column) const;

private:
    int bind(int position, int64_t value)
    {
        return sqlite3_bind_int64(statement, position, value);
    }
    int bind(int position, int value)
    {
        return bind(position, int64_t{value});
    }
    int bind(int position, bool value)
    {
        return bind(position, int64_t{value});
    }
    int bind(int position, double value)
    {
        return sqlite3_bind_double(statement, position, value);
    }
    int bind(int position, std::string_view value);
    template <class Value> int bind(int position, const std::optional<Value> &value)
    {
        return value ? bind(position, *value) : sqlite3_bind_null(statement, position);
    }
    void check(int result) const;

    Database &database;
    sqlite3_stmt *statement;
};

template <class... Arguments> Query Database::query(const char *sql, const Arguments &...arguments)
{
    return Query(*this, prepared(sql), arguments...);
}

template <class... Arguments> Query Database::row(const char *sql, const Arguments &...arguments)
{
    Query result(*this, prepared(sql), arguments...);
    if (!result.next())
        throw yat::Problem(file + " is damaged: a row is missing");
    return result;
}

template <class... Arguments> void Database::run(const char *sql, const Arguments &...arguments)
{
    Query query(*this, prepared(sql), arguments...);
    while (query.next()) {
    }
}

} // namespace sim
