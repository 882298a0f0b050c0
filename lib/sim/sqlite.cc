#include "sim/sqlite.h"

#include "common/problem.h"
#include "text/encoding.h"

#include <algorithm>
#include <climits>
#include <ctime>

namespace sim {
namespace {

constexpr int longestWait = 10'000'000; // microseconds
constexpr int shortestNap = 200;        // grows with each look, so that few wait in step
constexpr int longestNap = 5000;

// SQLite calls this while another process writes, with the number of times that it has.
int waitForOthers(void *waited, int calls)
{
    int &total = *static_cast<int *>(waited);
    if (calls == 0)
        total = 0;
    if (total >= longestWait)
        return 0;
    const int nap = std::min(shortestNap * (calls + 1), longestNap);
    const timespec length = {.tv_sec = 0, .tv_nsec = nap * 1000L};
    nanosleep(&length, nullptr);
    total += nap;
    return 1;
}

std::string explanation(sqlite3 *handle)
{
    const int error = sqlite3_system_errno(handle);
    if (sqlite3_errcode(handle) == SQLITE_IOERR && error != 0)
        return "can't be used: " + yat::reason(error);
    switch (sqlite3_errcode(handle)) {
    case SQLITE_NOTADB:
    case SQLITE_CORRUPT: return std::string("is damaged: ") + sqlite3_errmsg(handle);
    case SQLITE_BUSY: return "is in use by another program that does not let go of it";
    case SQLITE_FULL: return "can't be written: the disk is full";
    case SQLITE_READONLY: return "can't be written: it is read-only";
    default: return std::string("can't be used: ") + sqlite3_errmsg(handle);
    }
}

} // namespace

Database::Database(const std::string &path, int flags) : file(yat::fromDisplay(path))
{
    static int waited; // all calls are made from one thread
    if (sqlite3_open_v2(path.c_str(), &handle, flags, nullptr) != SQLITE_OK) {
        const std::string reason = handle ? explanation(handle) : "can't be used: out of memory";
        sqlite3_close(handle);
        throw yat::Problem(file + " " + reason);
    }
    sqlite3_extended_result_codes(handle, 0);
    sqlite3_busy_handler(handle, waitForOthers, &waited);
}

Database::~Database()
{
    for (const auto &[sql, statement] : statements)
        sqlite3_finalize(statement);
    sqlite3_close(handle);
}

bool Database::isStillThere() const
{
    int hasMoved = 0;
    return sqlite3_file_control(handle, "main", SQLITE_FCNTL_HAS_MOVED, &hasMoved) == SQLITE_OK
           && !hasMoved;
}

void Database::fail() const
{
    throw yat::Problem(file + " " + explanation(handle));
}

sqlite3_stmt *Database::prepared(const char *sql)
{
    const auto known = statements.find(std::string_view(sql));
    if (known != statements.end())
        return known->second;
    sqlite3_stmt *statement = nullptr;
    if (sqlite3_prepare_v3(handle, sql, -1, SQLITE_PREPARE_PERSISTENT, &statement, nullptr)
        != SQLITE_OK)
        fail();
    statements.emplace(sql, statement);
    return statement;
}

void Database::script(const char *sql)
{
    if (sqlite3_exec(handle, sql, nullptr, nullptr, nullptr) != SQLITE_OK)
        fail();
}

int64_t Database::number(const char *sql)
{
    return row(sql).integer(0);
}

void Database::transaction(const std::function<void()> &work)
{
    run("BEGIN IMMEDIATE");
    try {
        work();
        run("COMMIT");
    } catch (...) {
        sqlite3_exec(handle, "ROLLBACK", nullptr, nullptr, nullptr);
        throw;
    }
}

bool Query::next()
{
    const int result = sqlite3_step(statement);
    if (result != SQLITE_ROW && result != SQLITE_DONE)
        database.fail();
    return result == SQLITE_ROW;
}

bool Query::isNull(int column) const
{
    return sqlite3_column_type(statement, column) == SQLITE_NULL;
}

int Query::number(int column) const
{
    const int64_t value = integer(column);
    return static_cast<int>(std::clamp<int64_t>(value, INT_MIN, INT_MAX));
}

std::string Query::text(int column) const
{
    const auto *bytes = reinterpret_cast<const char *>(sqlite3_column_text(statement, column));
    const auto length = static_cast<size_t>(sqlite3_column_bytes(statement, column));
    return bytes ? std::string(bytes, length) : std::string();
}

int Query::bind(int position, std::string_view value)
{
    return sqlite3_bind_text64(statement, position, value.data(), value.size(), SQLITE_TRANSIENT,
                               SQLITE_UTF8);
}

void Query::check(int result) const
{
    if (result != SQLITE_OK)
        database.fail();
}

} // namespace sim
