#include "sim/statefile.h"

#include "common/paths.h"
#include "common/problem.h"
#include "sim/hash.h"
#include "sim/schema.h"
#include "sim/tables.h"
#include "text/encoding.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <initializer_list>
#include <string_view>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace sim {
namespace {

// ---- Which files are taken for a state

constexpr int headerSize = 100;
constexpr size_t applicationIdAt = 68;
using Header = std::array<unsigned char, headerSize>;

// Reads through SQLite's own file layer: closing a descriptor of ours would take away the locks
// that a connection of this process has on the file.
bool readHeader(const std::string &file, Header &header)
{
    sqlite3_vfs *system = sqlite3_vfs_find(nullptr);
    std::vector<char> memory(static_cast<size_t>(system->szOsFile));
    auto *handle = reinterpret_cast<sqlite3_file *>(memory.data());
    const char *name = sqlite3_create_filename(file.c_str(), "", "", 0, nullptr);
    const int flags = SQLITE_OPEN_READONLY | SQLITE_OPEN_MAIN_DB;
    bool isRead = false;
    if (name && system->xOpen(system, name, handle, flags, nullptr) == SQLITE_OK) {
        isRead = handle->pMethods->xRead(handle, header.data(), headerSize, 0) == SQLITE_OK;
        handle->pMethods->xClose(handle);
    }
    sqlite3_free_filename(name);
    return isRead;
}

bool isOurs(const Header &header)
{
    const unsigned char *id = &header[applicationIdAt];
    const uint32_t application = static_cast<uint32_t>(id[0]) << 24
                                 | static_cast<uint32_t>(id[1]) << 16
                                 | static_cast<uint32_t>(id[2]) << 8 | id[3];
    return memcmp(header.data(), "SQLite format 3", 16) == 0 && application == applicationId;
}

void checkHeader(const std::string &file)
{
    const std::string name = yat::fromDisplay(file);
    struct stat status;
    if (lstat(file.c_str(), &status) != 0)
        throw yat::Problem(name + " can't be used: " + yat::reason(errno));
    if (!S_ISREG(status.st_mode))
        throw yat::Problem(name + " is no regular file");
    if (faccessat(AT_FDCWD, file.c_str(), R_OK | W_OK, AT_EACCESS) != 0)
        throw yat::Problem(name + " can't be used: " + yat::reason(errno));
    Header header{};
    if (!readHeader(file, header) || !isOurs(header))
        throw yat::Problem(name
                           + " is damaged or of another program; it is left as it is, move "
                             "it away to begin anew");
}

// ---- What stands beside it

// The index of the log is looked at from outside only: closing it would take away the locks that a
// connection of this process has on it.
constexpr off_t indexUnit = 4096;
constexpr off_t newIndex = 3; // while SQLite begins one

bool isIndex(const std::string &, const struct stat &status)
{
    return status.st_size % indexUnit == 0 || status.st_size == newIndex;
}

// An empty log begins with zeros, or not at all.
bool beginsWithOneOf(const std::string &file, std::initializer_list<std::string_view> beginnings)
{
    char bytes[8] = "";
    const int descriptor = open(file.c_str(), O_RDONLY | O_CLOEXEC);
    const ssize_t length = descriptor >= 0 ? read(descriptor, bytes, sizeof bytes) : -1;
    if (descriptor >= 0)
        close(descriptor);
    const std::string_view found(bytes, static_cast<size_t>(std::max<ssize_t>(length, 0)));
    return found.find_first_not_of('\0') == found.npos
           || std::ranges::any_of(beginnings, [&](std::string_view beginning) {
                  return found.starts_with(beginning);
              });
}

bool isLog(const std::string &file, const struct stat &)
{
    return beginsWithOneOf(file, {"\x37\x7f\x06\x82", "\x37\x7f\x06\x83"});
}

bool isRollbackJournal(const std::string &file, const struct stat &)
{
    return beginsWithOneOf(file, {"\xd9\xd5\x05\xf9\x20\xa1\x63\xd7"});
}

using IsRight = bool (*)(const std::string &, const struct stat &);
constexpr std::pair<const char *, IsRight> companions[] = {
    {"-wal", isLog}, {"-shm", isIndex}, {"-journal", isRollbackJournal}};

// SQLite writes over whatever has the name of a log and is none.
void checkCompanions(const std::string &file)
{
    for (const auto &[ending, isRight] : companions) {
        const std::string companion = file + ending;
        struct stat status;
        if (lstat(companion.c_str(), &status) == 0
            && !(S_ISREG(status.st_mode) && isRight(companion, status)))
            throw yat::Problem(yat::fromDisplay(companion)
                               + " is damaged or of another program; it is left as it is, move it "
                                 "away to go on without it");
    }
}

void checkPages(Database &database)
{
    const std::string found = database.row("PRAGMA quick_check(1)").text(0);
    if (found != "ok") // a heading comes before what was found
        throw yat::Problem(database.file + " is damaged: " + found.substr(found.rfind('\n') + 1));
}

// ---- Versions

void migrate(Database &database)
{
    const int64_t version = database.number("PRAGMA user_version");
    for (int64_t step = version; step < schemaVersion; ++step)
        database.script(migrations[step]);
    if (version < schemaVersion)
        database.script(("PRAGMA user_version = " + std::to_string(schemaVersion)).c_str());
}

// Another program may have left a table out, or added a trigger that would ruin what is written.
void checkSchema(Database &database)
{
    if (hashOf(schemaOf(database)) != schemaHash)
        throw yat::Problem(database.file
                           + " is damaged: its tables are not those of this program");
}

void bringUpToDate(Database &database)
{
    const int64_t version = database.number("PRAGMA user_version");
    if (version > schemaVersion)
        throw yat::Problem(database.file
                           + " was written by a newer version of this program (its "
                             "tables have version "
                           + std::to_string(version)
                           + ", known are those "
                             "up to "
                           + std::to_string(schemaVersion) + ")");
    if (version < 1)
        throw yat::Problem(database.file + " is damaged: its tables have no version");
    if (version == schemaVersion)
        checkSchema(database);
    else
        database.transaction([&] {
            migrate(database);
            checkSchema(database); // or nothing has happened
        });
}

// ---- Making one

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

private:
    int descriptor;
};

void fillFile(const std::string &file, const Source &source, const Asker &asker)
{
    Database database(file, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE);
    database.transaction([&] {
        database.script(("PRAGMA application_id = " + std::to_string(applicationId)).c_str());
        migrate(database);
        const Time now = realTime();
        putMachine(database, source, {.simulated = now, .real = now, .scale = wantedScale()}, 1);
        writeJournal(database, asker,
                     {.simulated = now,
                      .real = now,
                      .operation = "init",
                      .argument = yat::fromDisplay(source.file),
                      .result = "done"});
    });
    database.script("PRAGMA journal_mode = WAL");
}

bool exists(const std::string &file)
{
    struct stat status;
    return lstat(file.c_str(), &status) == 0;
}

// Keeps a file that stands where ours are made, under a name that is free.
void setAside(const std::string &file)
{
    const std::string aside = file + ".aside";
    std::string name = aside;
    for (int number = 2; renameat2(AT_FDCWD, file.c_str(), AT_FDCWD, name.c_str(), RENAME_NOREPLACE)
                             != 0
                         && errno == EEXIST;
         ++number)
        name = aside + "." + std::to_string(number);
    if (exists(file))
        throw yat::Problem(yat::fromDisplay(file)
                           + " is in the way and can't be set aside: " + yat::reason(errno));
}

bool isStateFile(const std::string &file, const struct stat &status)
{
    Header header{};
    return status.st_size == 0 || (readHeader(file, header) && isOurs(header));
}

// Takes away what a process left behind that was killed while it made the file; what can't be of
// such a process is kept.
void takeAway(const std::string &file, const std::string &ending, IsRight isRight)
{
    const std::string whole = file + ending;
    struct stat status;
    if (lstat(whole.c_str(), &status) != 0)
        return;
    const bool isOfNoValue = S_ISREG(status.st_mode) && isRight(whole, status);
    if (!isOfNoValue || unlink(whole.c_str()) != 0)
        setAside(whole);
}

bool isEmpty(const std::string &, const struct stat &status)
{
    return status.st_size == 0;
}

// A log without its file may be all that is left of what was done, for instance when the file was
// moved away alone: it must not be taken for the new one's, and it must not be lost.
void clearTheWay(const std::string &file, const std::string &unfinished)
{
    takeAway(unfinished, "", isStateFile);
    for (const auto &[ending, isRight] : companions) {
        takeAway(unfinished, ending, isRight);
        takeAway(file, ending, isRight == isIndex ? isIndex : isEmpty);
    }
}

} // namespace

std::string schemaOf(Database &database)
{
    std::string result;
    Query row = database.query("SELECT type, name, tbl_name, sql FROM sqlite_schema WHERE name NOT "
                               "LIKE 'sqlite!_%' ESCAPE '!' ORDER BY type, name");
    while (row.next())
        result += row.text(0) + " " + row.text(1) + " " + row.text(2) + " " + row.text(3) + "\n";
    return result;
}

std::string wholePath(const std::string &file)
{
    std::error_code error;
    const std::filesystem::path whole = std::filesystem::weakly_canonical(file, error);
    return error ? file : whole.string();
}

bool createStateFile(const std::string &file, const std::string &descriptionFile,
                     const Asker &asker)
{
    if (exists(file))
        return false;
    Source source = readSource(descriptionFile);
    source.file = wholePath(descriptionFile);
    const std::string directory = std::filesystem::path(file).parent_path().string();
    if (!yat::makeWritableDirectory(directory))
        throw yat::Problem(yat::fromDisplay(directory) + " can't be written: " + yat::reason(errno));
    const DirectoryLock lock(directory);
    if (exists(file))
        return false;
    // Made under another name, so that a file of this name is always whole.
    const std::string unfinished = file + ".new";
    clearTheWay(file, unfinished);
    fillFile(unfinished, source, asker);
    if (rename(unfinished.c_str(), file.c_str()) != 0)
        throw yat::Problem(yat::fromDisplay(file) + " can't be made: " + yat::reason(errno));
    return true;
}

std::unique_ptr<Database> openStateFile(const std::string &file)
{
    checkHeader(file);
    checkCompanions(file);
    auto database = std::make_unique<Database>(file, SQLITE_OPEN_READWRITE);
    // Until it is known to be sound, closing it must not write it.
    sqlite3_db_config(database->handle, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
    sqlite3_db_config(database->handle, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
    checkPages(*database);
    bringUpToDate(*database);
    database->script("PRAGMA synchronous = NORMAL; PRAGMA journal_mode = WAL");
    sqlite3_db_config(database->handle, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 0, nullptr);
    return database;
}

void writeJournal(Database &database, const Asker &asker, const JournalRow &row)
{
    database.run(
        "INSERT INTO journal (simulated, real, user, terminal, device, operation, code, argument, "
        "result) VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?)",
        row.simulated, row.real, asker.user, asker.terminal, row.device, row.operation, row.code,
        row.argument, row.result);
}

} // namespace sim
