// SPDX-License-Identifier: GPL-2.0-or-later
#include "sim/statefile.h"

#include "common/ownfiles.h"
#include "sim/tables.h"
#include "text/encoding.h"

#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <sys/file.h>
#include <unistd.h>

namespace sim {
namespace {

// The lock that lets one process at a time make files in a directory.
class DirectoryLock {
public:
    explicit DirectoryLock(const std::string &path)
        : descriptor(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC))
    {
        while (descriptor >= 0 && flock(descriptor, LOCK_EX) != 0 && errno == EINTR) {
        }
    }
    ~DirectoryLock()
    {
        if (descriptor >= 0)
            close(descriptor);
    }
    DirectoryLock(const DirectoryLock &) = delete;
    DirectoryLock &operator=(const DirectoryLock &) = delete;

    const int descriptor;
};

// A log without its file may be all that is left of what was done, for instance when the file was
// moved away alone: it must not be taken for the new one's, and it must not be lost.
void setAside(const std::string &log)
{
    std::error_code error;
    std::string aside = log + ".aside";
    for (int number = 2; std::filesystem::exists(aside, error); ++number)
        aside = log + ".aside." + std::to_string(number);
    if (rename(log.c_str(), aside.c_str()) != 0 && errno != ENOENT)
        throw yat::Problem(yat::fromDisplay(log)
                           + " is in the way and can't be set aside: " + yat::reason(errno));
}

void makeTables(const std::string &file, const std::function<void(Database &)> &fill)
{
    Database database(file, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE);
    try {
        database.connection.exec("PRAGMA journal_mode = OFF"); // it is whole, or nobody's
        Transaction transaction(database.connection);
        database.connection.exec("PRAGMA application_id = " + std::to_string(applicationId)
                                 + "; PRAGMA user_version = " + std::to_string(stateVersion));
        database.connection.exec(schema());
        fill(database);
        transaction.commit();
        database.connection.exec("PRAGMA journal_mode = WAL");
    } catch (const SqliteError &error) {
        throw database.problem(error);
    }
}

// ---- Which files are taken for a state

void check(Database &database, bool isWritten)
{
    if (database.number("PRAGMA application_id") != applicationId)
        throw database.problem(SqliteError(SQLITE_NOTADB, ""));
    if (isWritten && sqlite3_db_readonly(database.connection.handle(), "main") != 0)
        throw database.problem(SqliteError(SQLITE_READONLY, ""));
    if (database.number("PRAGMA user_version") != stateVersion)
        throw yat::Problem(database.file
                           + " was made by another version of this program and was left alone; use "
                             "that version, or move the file away to start afresh");
}

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

// Where a program works on the file, SQLite reads its log by the memory that they share. It would
// make both where there are none, so it has to be told then that nobody writes; whether that held
// is seen afterwards.
bool tryToRead(const std::string &file, const std::function<void(Database &)> &work)
{
    const auto isInUse = [&] { return std::filesystem::exists(file + "-wal"); };
    const auto before = std::filesystem::last_write_time(file);
    const bool wasInUse = isInUse();
    try {
        Database database(wasInUse ? file : unchanging(file),
                          SQLITE_OPEN_READONLY | SQLITE_OPEN_URI);
        database.file = yat::fromDisplay(file);
        try {
            check(database, false);
            work(database);
        } catch (const SqliteError &error) {
            if (wasInUse && error.code == SQLITE_CANTOPEN)
                throw yat::Problem(database.file
                                   + " can't be read: a program was killed while it worked on it; "
                                     "whoever may write it has to look at the machine first");
            throw database.problem(error);
        }
    } catch (const yat::Problem &) {
        if (wasInUse == isInUse())
            throw;
        return false;
    }
    return wasInUse || (!isInUse() && std::filesystem::last_write_time(file) == before);
}

} // namespace

bool createStateFile(const std::string &file, const std::function<void(Database &)> &fill)
{
    const std::filesystem::path path = file;
    const std::string directory = path.parent_path().string();
    yat::makeOwnDirectory(directory);
    const DirectoryLock lock(directory);
    if (exists(path))
        return false;
    // Made under another name, so that a file of this name is always whole.
    const std::string unfinished = file + ".new";
    for (const char *ending : {"", "-journal", "-wal", "-shm"})
        unlink((unfinished + ending).c_str());
    setAside(file + "-wal");
    close(
        yat::openOwnFile(unfinished, O_WRONLY)); // by its permissions SQLite makes those of the log
    makeTables(unfinished, fill);
    if (rename(unfinished.c_str(), file.c_str()) != 0)
        throw yat::Problem(yat::fromDisplay(file) + " can't be made: " + yat::reason(errno));
    fsync(lock.descriptor); // or a loss of power could take the file with all that is done in it
    return true;
}

std::unique_ptr<Database> openStateFile(const std::string &file)
{
    for (const char *ending : {"", "-wal", "-shm", "-journal"})
        yat::requireOwnFile(file + ending);
    auto database = std::make_unique<Database>(file, SQLITE_OPEN_READWRITE);
    sqlite3 *handle = database->connection.handle();
    // Until it is known to be sound, closing it must not write it.
    sqlite3_db_config(handle, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
    try {
        Transaction transaction(database->connection);
        check(*database, true);
        transaction.commit();
        database->connection.exec("PRAGMA journal_mode = WAL");
    } catch (const SqliteError &error) {
        throw database->problem(error);
    }
    sqlite3_db_config(handle, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 0, nullptr);
    return database;
}

void readStateFile(const std::string &file, const std::function<void(Database &)> &work)
{
    for (int tries = 0; tries < 100; ++tries)
        if (tryToRead(file, work))
            return;
    throw yat::Problem(yat::fromDisplay(file)
                       + " is in use by another program; try again when that has finished");
}

} // namespace sim
