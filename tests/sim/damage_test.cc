// SPDX-License-Identifier: GPL-2.0-or-later
// State files that are refused, and what is told of them.
#include "stored.h"
#include "support/privileges.h"
#include "yatsim/steering.h"

#include <cerrno>
#include <sqlite3.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

using namespace sim;

// The state file and its log.
std::string bytesOf(const Store &store)
{
    return readFile(store.file) + "|" + readFile(store.file + "-wal");
}

void close(Store &store)
{
    store.database.reset();
}

void overwrite(const Store &store, const std::string &bytes)
{
    std::ofstream(store.file, std::ios::binary | std::ios::trunc) << bytes;
}

void expectRefused(Stored &stored, const std::string &reason)
{
    const std::string before = bytesOf(stored.store);
    for (const auto &work : std::vector<std::function<void()>>{
             [&] { look(stored.store); }, [&] { perform(stored.store, stopCpu2); },
             [&] { resetMachine(stored.store); }}) {
        const std::string problem = problemOf(work);
        EXPECT_TRUE(problem.starts_with(stored.store.file)) << problem;
        EXPECT_NE((problem + "\n").find(reason), std::string::npos) << problem;
        EXPECT_EQ(problem.find('\n'), std::string::npos) << problem;
        close(stored.store);
    }
    EXPECT_TRUE(bytesOf(stored.store) == before);
}

} // namespace

TEST(StateFile, ThatIsNoDatabaseIsRefusedAndLeftAlone)
{
    for (const std::string &text : {std::string(), std::string("my letter to grandmother\n"),
                                    std::string(5000, '\0'), std::string("SQLite format 3")}) {
        Stored stored;
        fs::create_directories(fs::path(stored.store.file).parent_path());
        overwrite(stored.store, text);
        expectRefused(stored, " is damaged or belongs to another program and was left alone");
    }
}

TEST(StateFile, OfAnotherProgramIsRefusedAndLeftAlone)
{
    for (const std::string id : {"0", "42"}) {
        Stored stored;
        fs::create_directories(fs::path(stored.store.file).parent_path());
        yat::Database(stored.store.file, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE)
            .exec("PRAGMA application_id = " + id
                  + "; CREATE TABLE machine (x); INSERT INTO machine VALUES (1)");
        expectRefused(stored, " is damaged or belongs to another program and was left alone");
    }
}

TEST(StateFile, ThatIsADirectoryIsRefused)
{
    Stored stored;
    fs::create_directories(stored.store.file);
    EXPECT_EQ(problemOf([&] { look(stored.store); }),
              stored.store.file + " can't be written: it is not a regular file");
}

TEST(StateFile, OfAnotherVersionIsRefusedAndLeftAlone)
{
    for (const int version : {0, stateVersion + 1}) {
        Stored stored;
        openStore(stored.store);
        close(stored.store);
        tamper(stored.store, "PRAGMA user_version = " + std::to_string(version));
        expectRefused(stored, " was made by another version of this program and was left alone; "
                              "use that version, or move the file away to start afresh");
    }
}

TEST(StateFile, ThatSaysWhatCantBeIsRefusedAndLeftAlone)
{
    const std::pair<const char *, const char *> cases[] = {
        {"UPDATE device SET state = 'asleep'", "'state', expected one of \"empty\", "},
        {"UPDATE device SET state = NULL", "'state', expected one of "},
        {"UPDATE device SET bios_from = 3", "'bios_from', expected one of "},
        {"UPDATE device SET state = 'synchronising', partner = 0 WHERE position = 0",
         "a module is synchronising without a partner"},
        {"UPDATE device SET class = 4", "'class', expected one of \"CPU\", "},
        {"UPDATE device SET number = 2000000000", "'number', expected a number from 1 to 9999"},
        {"UPDATE device SET path = x'00' WHERE position = 3", "'path', expected a list of 1 to 8 "},
        {"UPDATE device SET parent = 3 WHERE position = 3",
         "'parent', expected a number from -1 to 2"},
        {"UPDATE device SET since = 9000000000000000000", "'since', expected a number from 0 to "},
        {"UPDATE device SET since = 'long ago'", "'since', expected a number from 0 to "},
        {"UPDATE device SET failure_count = 3000000000", "'failure_count', expected a number "},
        {"UPDATE device SET failure_count = 9223372036854775807", "'failure_count', expected a "},
        {"UPDATE device SET failure_count = 9223372036854775808", "'failure_count', expected a "},
        {"UPDATE device SET failure_count = -9223372036854775808", "'failure_count', expected a "},
        {"UPDATE device SET bios_version = printf('%1001d', 1)",
         "'bios_version', expected a text of 1 to 1000 bytes"},
        {"UPDATE device SET copies = 2", "'copies', expected true or false"},
        {"UPDATE machine SET scale = 1e300 * 1e300",
         "'scale', expected a number from 0 to 1000000"},
        {"UPDATE machine SET simulated = -1", "'simulated', expected a number from 0 to "},
        {"UPDATE machine SET real = 9223372036854775807", "'real', expected a number from 0 to "},
        {"UPDATE machine SET start = -5", "'start', expected a number from 0 to 86400"},
        {"UPDATE machine SET id = 2", "'id', expected a number from 1 to 1"},
        {"UPDATE device SET failures = CAST('[' || replace(hex(zeroblob(32)), '0', '1,') || '1]'"
         "                                  AS BLOB)",
         "'failures', expected a list of up to 64 numbers from "},
        {"UPDATE device SET failures = x'5b'", "'failures', expected a list of up to 64 numbers "},
        {"UPDATE device SET failures = CAST('[1e30]' AS BLOB)", "'failures', expected a list of "},
        {"UPDATE device SET failures = CAST('[999999999999999999]' AS BLOB)",
         "'failures', expected a list of up to 64 numbers from "},
        {"INSERT INTO injection (call, times, delay) VALUES ('x', -1, 0)",
         "'times', expected a number from 0 to 1000000000"},
        {"INSERT INTO injection (call, times, delay) VALUES (7, 1, 0)",
         "'call', expected a text\n"}, // of any length
        {"UPDATE device SET partner = 99 WHERE position = 0", "the partner of a module is missing"},
        {"DELETE FROM device WHERE position = 4", "a device is missing"},
        {"DELETE FROM machine", "it describes no machine"},
    };
    for (const auto &[sql, reason] : cases) {
        Stored stored;
        openStore(stored.store);
        close(stored.store);
        tamper(stored.store, sql);
        SCOPED_TRACE(sql);
        expectRefused(stored, std::string(" is damaged: ")
                                  + (*reason == '\'' ? "wrong value for " : "") + reason);
    }
}

TEST(StateFile, WithoutATableIsRefused)
{
    for (const std::string table : {"machine", "device", "injection"}) {
        Stored stored;
        openStore(stored.store);
        close(stored.store);
        tamper(stored.store, "DROP TABLE " + table);
        expectRefused(stored, " can't be used: no such table: " + table);
    }
}

// Only free space at the very end, or what the journal has in the last pages, can be missed.
TEST(StateFile, CutOffAnywhereIsRefusedOrComplete)
{
    Stored stored;
    const Machine machine = look(stored.store);
    close(stored.store);
    const std::string whole = readFile(stored.store.file);
    int refused = 0;
    for (size_t length = 0; length < whole.size(); length += 1021) {
        overwrite(stored.store, whole.substr(0, length));
        const std::string problem = problemOf([&] { look(stored.store); });
        SCOPED_TRACE(length);
        if (problem.empty()) {
            EXPECT_TRUE(look(stored.store).devices == machine.devices);
            const std::string found = problemOf([&] { journalOf(stored.store); });
            EXPECT_TRUE(found.empty() || found.find(" is damaged") != found.npos) << found;
        } else {
            ++refused;
            expectRefused(stored, " is damaged");
        }
        close(stored.store);
    }
    EXPECT_GT(refused, 10);
}

TEST(StateFile, DamagedInAPageOfTheJournalSaysSoToWhoeverReadsIt)
{
    Stored stored;
    for (int i = 0; i < 300; ++i)
        perform(stored.store, {.verb = Verb::set, .argument = "data_file=" + std::to_string(i)});
    close(stored.store);
    std::string bytes = readFile(stored.store.file);
    const size_t page = bytes.find("data_file=150") / 4096 * 4096;
    ASSERT_LT(page, bytes.size());
    bytes.replace(page, 4096, 4096, '\xff');
    overwrite(stored.store, bytes);
    EXPECT_EQ(problemOf([&] { journalOf(stored.store); }),
              stored.store.file + " is damaged: database disk image is malformed");
    EXPECT_EQ(look(stored.store).dataFileVersion, "299");
}

// Whatever single byte is wrong: either the file is refused and stays as it is, or the wrong byte
// says nothing that matters and the machine can be used.
TEST(StateFile, WithAWrongByteIsRefusedOrUsedButNeverBringsTheProgramDown)
{
    Stored stored;
    perform(stored.store, stopCpu2);
    close(stored.store);
    const std::string whole = readFile(stored.store.file);
    int refused = 0;
    for (size_t at = 0; at < whole.size(); at += 37) {
        std::string wrong = whole;
        wrong[at] = static_cast<char>(wrong[at] ^ 0xFF);
        overwrite(stored.store, wrong);
        const std::string problem = problemOf([&] { look(stored.store); });
        close(stored.store);
        if (problem.empty())
            continue;
        ++refused;
        EXPECT_TRUE(readFile(stored.store.file) == wrong) << at << ": " << problem;
    }
    EXPECT_GT(refused, 30);
}

TEST(StateFile, ThatCantBeWrittenSaysSo)
{
    Stored stored;
    openStore(stored.store);
    close(stored.store);
    fs::permissions(stored.store.file, fs::perms(0444));
    const std::string before = bytesOf(stored.store);
    {
        const WithoutPrivileges since;
        EXPECT_EQ(problemOf([&] { look(stored.store); }),
                  stored.store.file + " can't be written: it is read-only");
    }
    EXPECT_TRUE(bytesOf(stored.store) == before);
}

namespace {

int readsLeft = -1; // until reading fails; never while it is negative

ssize_t failingRead(int file, void *bytes, size_t size, off_t at)
{
    if (readsLeft == 0) {
        errno = EIO;
        return -1;
    }
    readsLeft -= readsLeft > 0 ? 1 : 0;
    return pread(file, bytes, size, at);
}

} // namespace

// Whoever is told that a file is damaged moves it away; a disk that fails now may not fail again.
TEST(StateFile, ThatCantBeReadNowIsNotTakenForADamagedOne)
{
    Stored stored;
    perform(stored.store, stopCpu2);
    close(stored.store);
    sqlite3_vfs *system = sqlite3_vfs_find(nullptr);
    for (const char *call : {"pread", "pread64"})
        system->xSetSystemCall(system, call, reinterpret_cast<sqlite3_syscall_ptr>(failingRead));
    int failures = 0;
    for (int reads = 0; reads < 100; ++reads) {
        readsLeft = reads;
        const std::string problem = problemOf([&] { look(stored.store); });
        readsLeft = -1;
        close(stored.store);
        failures += problem.empty() ? 0 : 1;
        EXPECT_TRUE(problem.empty() || problem.starts_with(stored.store.file + " can't be used: "))
            << reads << " " << problem;
    }
    EXPECT_GT(failures, 5);
    EXPECT_LT(failures, 100);
    EXPECT_EQ(find(look(stored.store), cpu2)->state, State::stopping);
    for (const char *call : {"pread", "pread64"})
        system->xSetSystemCall(system, call, nullptr);
}
