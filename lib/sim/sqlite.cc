// SPDX-License-Identifier: GPL-2.0-or-later
#include "sim/sqlite.h"

namespace sim {
namespace {

// A machine needs few of the 20 pages that SQLite would make room for in each connection. That can
// be changed before its first use only; where that is over, so be it.
void saveMemory()
{
    static const int result = sqlite3_config(SQLITE_CONFIG_PAGECACHE, nullptr, 0, 0);
    static_cast<void>(result);
}

void require(int result, sqlite3 *database)
{
    if (result != SQLITE_OK)
        throw SqliteError(result, database ? sqlite3_errmsg(database) : sqlite3_errstr(result));
}

} // namespace

Connection::Connection(const std::string &path, int flags, int patience)
{
    saveMemory();
    sqlite3 *opened = nullptr; // also where that fails
    const int result = sqlite3_open_v2(path.c_str(), &opened, flags, nullptr);
    database.reset(opened);
    require(result, opened);
    require(sqlite3_busy_timeout(opened, patience), opened);
}

void Connection::exec(const std::string &sql)
{
    require(sqlite3_exec(handle(), sql.c_str(), nullptr, nullptr, nullptr), handle());
}

Statement::Statement(const Connection &connection, const char *sql)
{
    sqlite3_stmt *prepared = nullptr;
    const int result = sqlite3_prepare_v2(connection.handle(), sql, -1, &prepared, nullptr);
    statement.reset(prepared);
    require(result, connection.handle());
}

void Statement::check(int result) const
{
    require(result, sqlite3_db_handle(statement.get()));
}

void Statement::bind(int position)
{
    check(sqlite3_bind_null(statement.get(), position));
}

void Statement::bind(int position, int64_t value)
{
    check(sqlite3_bind_int64(statement.get(), position, value));
}

void Statement::bind(int position, double value)
{
    check(sqlite3_bind_double(statement.get(), position, value));
}

void Statement::bind(int position, const std::string &value)
{
    check(sqlite3_bind_text(statement.get(), position, value.data(), static_cast<int>(value.size()),
                            SQLITE_TRANSIENT));
}

void Statement::bindBlob(int position, std::string_view bytes)
{
    check(sqlite3_bind_blob(statement.get(), position, bytes.data(), static_cast<int>(bytes.size()),
                            SQLITE_TRANSIENT));
}

bool Statement::step()
{
    const int result = sqlite3_step(statement.get());
    if (result != SQLITE_ROW && result != SQLITE_DONE)
        check(result);
    return result == SQLITE_ROW;
}

std::string_view Statement::bytes(int column) const
{
    const void *bytes = sqlite3_column_blob(statement.get(), column);
    const int size = sqlite3_column_bytes(statement.get(), column);
    return {static_cast<const char *>(bytes), static_cast<size_t>(size)};
}

Transaction::Transaction(Connection &database, bool writes) : connection(database)
{
    connection.exec(writes ? "BEGIN IMMEDIATE" : "BEGIN");
}

Transaction::~Transaction()
{
    if (!isCommitted) // what fails here was undone before
        sqlite3_exec(connection.handle(), "ROLLBACK", nullptr, nullptr, nullptr);
}

void Transaction::commit()
{
    connection.exec("COMMIT");
    isCommitted = true;
}

} // namespace sim
