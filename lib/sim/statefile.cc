// SPDX-License-Identifier: GPL-2.0-or-later
#include "sim/statefile.h"

#include "common/lock.h"
#include "common/ownfiles.h"
#include "sim/tables.h"
#include "text/encoding.h"

#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <unistd.h>

namespace sim {
namespace {

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
                           + " is left from an earlier file and can't be renamed: "
                           + yat::reason(errno));
}

void makeTables(const std::string &file, const std::function<void(yat::Database &)> &fill)
{
    yat::Database database(file, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE);
    database.exec("PRAGMA journal_mode = OFF"); // it is whole, or nobody's
    yat::Transaction transaction(database);
    database.exec("PRAGMA application_id = " + std::to_string(applicationId)
                  + "; PRAGMA user_version = " + std::to_string(stateVersion));
    database.exec(schema());
    fill(database);
    transaction.commit();
    database.exec("PRAGMA journal_mode = WAL");
}

} // namespace

bool createStateFile(const std::string &file, const std::function<void(yat::Database &)> &fill)
{
    const std::filesystem::path path = file;
    const std::string directory = path.parent_path().string();
    yat::makeOwnDirectory(directory);
    // One process at a time makes files there.
    const yat::Lock lock(open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC), true);
    std::error_code error;
    if (std::filesystem::exists(path, error))
        return false;
    if (error)
        throw yat::Problem(yat::fromDisplay(file)
                           + " can't be made: " + yat::reason(error.value()));
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

void checkVersion(yat::Database &database)
{
    if (database.number("PRAGMA application_id") != applicationId)
        database.fail(SQLITE_NOTADB);
    if (database.number("PRAGMA user_version") != stateVersion)
        throw yat::Problem(database.file
                           + " was made by another version of this program and was left alone; use "
                             "that version, or move the file away to start afresh");
}

std::unique_ptr<yat::Database> openStateFile(const std::string &file)
{
    yat::makeOwnDirectory(std::filesystem::path(file).parent_path().string());
    for (const char *ending : {"", "-wal", "-shm", "-journal"})
        yat::requireOwnFile(file + ending);
    auto database = std::make_unique<yat::Database>(file, SQLITE_OPEN_READWRITE);
    sqlite3 *handle = database->handle.get();
    // Until it is known to be sound, closing it must not write it.
    sqlite3_db_config(handle, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
    yat::Transaction transaction(*database);
    checkVersion(*database);
    if (sqlite3_db_readonly(handle, "main") != 0)
        database->fail(SQLITE_READONLY);
    transaction.commit();
    sqlite3_db_config(handle, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 0, nullptr);
    return database;
}

} // namespace sim
