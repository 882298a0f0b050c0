// The state file: how it comes to be, what is refused, and what survives.
#include "sim/hash.h"
#include "sim/schema.h"
#include "sim/store.h"
#include "support.h"
#include "support/privileges.h"
#include "support/problem.h"
#include "yat/ft.h"

#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

using namespace sim;

// The store of a shipped machine, or of another text in the place of its description.
struct Stored {
    explicit Stored(const std::string &machine = "CEDAR", const std::string &text = "")
        : sandbox(machine)
    {
        const fs::path file = sandbox.directory() / (machine + ".toml");
        std::ofstream(file) << (text.empty() ? shipped(machine) : text);
        store.file = sandbox.stateFile().string();
        store.descriptionFile = file.string();
        store.asker = {.user = "tester", .terminal = "/dev/pts/9"};
    }

    Sandbox sandbox;
    Store store;
};

const DeviceId cpu2 = {YAT_CLASS_CPU_MODULE, 2};
const Operation stopCpu2 = {.verb = Verb::bringDown, .device = cpu2, .code = 8};

// The same for one who has no more rights than anybody.
std::string problemOfAnybody(const std::function<void()> &work)
{
    const WithoutPrivileges since;
    return problemOf(work);
}

std::vector<JournalRow> journalOf(Store &store)
{
    std::vector<JournalRow> rows;
    readJournal(store, 0, [&](const JournalRow &row) { rows.push_back(row); });
    return rows;
}

// The state file and its log.
std::string bytesOf(const Store &store)
{
    return readFile(store.file) + "|" + readFile(store.file + "-wal");
}

// Writes raw SQL into the state, as somebody with another program would.
void tamper(const Store &store, const std::string &sql)
{
    Database database(store.file, SQLITE_OPEN_READWRITE);
    database.script(sql.c_str());
}

void expectRefused(Stored &stored, const std::string &reason)
{
    const std::string before = bytesOf(stored.store);
    for (const auto &work : std::vector<std::function<void()>>{
             [&] { look(stored.store); }, [&] { perform(stored.store, stopCpu2); },
             [&] { resetMachine(stored.store); }}) {
        const std::string problem = problemOf(work);
        EXPECT_TRUE(problem.starts_with(stored.store.file)) << problem;
        EXPECT_NE(problem.find(reason), std::string::npos) << problem;
        EXPECT_EQ(problem.find('\n'), std::string::npos) << problem;
        stored.store.database.reset();
    }
    EXPECT_TRUE(bytesOf(stored.store) == before);
}

} // namespace

// ---- How it comes to be

TEST(StateFile, IsMadeFromTheDescriptionAtFirstUse)
{
    Stored stored;
    EXPECT_TRUE(openStore(stored.store));
    EXPECT_FALSE(openStore(stored.store));
    EXPECT_EQ(look(stored.store).devices.size(), 11u);
    EXPECT_EQ(stored.store.database->row("PRAGMA journal_mode").text(0), "wal");
    EXPECT_EQ(stored.store.database->number("PRAGMA user_version"), schemaVersion);
    const auto rows = journalOf(stored.store);
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(rows[0].operation, "init");
    EXPECT_EQ(rows[0].user, "tester");
    EXPECT_EQ(rows[0].terminal, "/dev/pts/9");
}

TEST(StateFile, IsNotMadeFromADescriptionWithMistakes)
{
    Stored stored("CEDAR", "type = 5\nnam = 1\n");
    const std::string file = stored.store.descriptionFile;
    EXPECT_EQ(problemOf([&] { look(stored.store); }),
              file + ":1: missing key 'name', expected a text of 1 to 127 bytes\n" + file
                  + ":1: wrong value for 'type', expected \"ALDER\", \"BIRCH\", \"CEDAR\", \"PLAIN\"\n"
                  + file
                  + ":2: unknown key 'nam' in the description, expected name, type, bmc, firmware, "
                    "settings, mtbf, timing, supports, cpu_module, pci_module");
    EXPECT_FALSE(fs::exists(stored.store.file));
}

TEST(StateFile, IsMadeOnceByAnyNumberOfProcesses)
{
    for (int round = 0; round < 20; ++round) {
        Stored stored;
        int made = 0;
        std::vector<pid_t> children;
        for (int i = 0; i < 4; ++i)
            if (const pid_t child = fork(); child == 0)
                _exit(problemOf([&] { made = openStore(stored.store) ? 1 : 0; }).empty() ? made : 9);
            else
                children.push_back(child);
        int makers = 0;
        for (const pid_t child : children) {
            int status = 0;
            waitpid(child, &status, 0);
            ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) < 2) << status;
            makers += WEXITSTATUS(status);
        }
        EXPECT_EQ(makers, 1);
        EXPECT_EQ(journalOf(stored.store).size(), 1u);
    }
}

TEST(StateFile, IsNotMisledByWhatAKilledProcessOrAnotherStateLeftBehind)
{
    Stored stored;
    openStore(stored.store);
    perform(stored.store, stopCpu2);
    // The log of a state that is gone, and half a new one.
    const std::string log = readFile(stored.store.file + "-wal");
    ASSERT_FALSE(log.empty());
    stored.store.database.reset();
    fs::remove(stored.store.file);
    std::ofstream(stored.store.file + "-wal") << log;
    std::ofstream(stored.store.file + ".new") << "half";
    EXPECT_TRUE(openStore(stored.store));
    EXPECT_EQ(journalOf(stored.store).size(), 1u);
    EXPECT_EQ(find(look(stored.store), cpu2)->state, State::duplex);
    EXPECT_EQ(readFile(stored.store.file + "-wal.aside"), log); // it may be all that is left
    EXPECT_EQ(readFile(stored.store.file + ".new.aside"), "half");
    EXPECT_FALSE(fs::exists(stored.store.file + ".new"));
}

TEST(StateFile, IsMadeWithoutHarmToForeignFiles)
{
    Stored stored;
    fs::create_directories(fs::path(stored.store.file).parent_path());
    const std::vector<std::string> endings = {".new",     "-wal",    "-shm",        "-journal",
                                              ".new-wal", ".new-shm", ".new-journal"};
    for (const std::string text : {"first", "second", "third"}) {
        for (const std::string &ending : endings)
            std::ofstream(stored.store.file + ending) << text;
        EXPECT_TRUE(openStore(stored.store));
        stored.store.database.reset();
        fs::remove(stored.store.file);
    }
    for (const std::string &ending : endings) {
        const std::string aside = stored.store.file + ending + ".aside";
        EXPECT_EQ(readFile(aside), "first");
        EXPECT_EQ(readFile(aside + ".2"), "second");
        EXPECT_EQ(readFile(aside + ".3"), "third");
    }
}

TEST(StateFile, IsNotMadeBesideALogThatCantBeSetAside)
{
    Stored stored;
    const fs::path machines = fs::path(stored.store.file).parent_path();
    stored.store.file = machines / (std::string(243, 'x') + ".db"); // no room for another ending
    fs::create_directories(machines);
    std::ofstream(stored.store.file + "-wal") << "all that is left";
    EXPECT_EQ(problemOf([&] { look(stored.store); }),
              stored.store.file + "-wal is in the way and can't be set aside: File name too long");
    EXPECT_FALSE(fs::exists(stored.store.file));
    EXPECT_EQ(readFile(stored.store.file + "-wal"), "all that is left");
}

TEST(StateFile, IsKnownByTheTablesThatTheMigrationsMake)
{
    Database empty(":memory:", SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE);
    for (const char *script : migrations)
        empty.script(script);
    EXPECT_EQ(hashOf(schemaOf(empty)), schemaHash) << std::hex << hashOf(schemaOf(empty));
}

TEST(StateFile, ThatIsRefusedIsNotBroughtUpToDateBefore)
{
    Stored stored;
    openStore(stored.store);
    stored.store.database.reset();
    tamper(stored.store, "DROP TABLE injection; PRAGMA user_version = 1; CREATE TRIGGER strange "
                         "AFTER INSERT ON journal BEGIN DELETE FROM device; END");
    expectRefused(stored, "its tables are not those of this program");
    Database database(stored.store.file, SQLITE_OPEN_READWRITE);
    EXPECT_EQ(database.number("PRAGMA user_version"), 1);
}

// Nothing of value is in these, so that they don't pile up.
TEST(StateFile, IsMadeInThePlaceOfWhatIsOurs)
{
    Stored stored;
    openStore(stored.store);
    stored.store.database.reset();
    fs::rename(stored.store.file, stored.store.file + ".new");
    std::ofstream(stored.store.file + "-shm") << std::string(32768, 'x');
    std::ofstream(stored.store.file + "-wal");
    EXPECT_TRUE(openStore(stored.store));
    for (const auto &entry : fs::directory_iterator(fs::path(stored.store.file).parent_path()))
        EXPECT_EQ(entry.path().string().find("aside"), std::string::npos) << entry.path();
}

TEST(StateFile, IsOpenedAnewWhenItIsAnotherOne)
{
    Stored stored;
    perform(stored.store, stopCpu2);
    fs::remove_all(stored.sandbox.directory() / "machines");
    EXPECT_EQ(find(look(stored.store), cpu2)->state, State::duplex);
}

TEST(StateFile, OfAMachineThatIsGivenByItsPathHasAnOwnName)
{
    Stored stored;
    stored.sandbox.set("YAT_MACHINE", stored.store.descriptionFile);
    const std::string one = configuredStore().file;
    fs::create_directory(stored.sandbox.directory() / "x");
    stored.sandbox.set("YAT_MACHINE", (stored.sandbox.directory() / "x" / "CEDAR.toml").string());
    const std::string other = configuredStore().file;
    EXPECT_NE(one, other);
    stored.sandbox.set("YAT_MACHINE",
                       (stored.sandbox.directory() / "x" / ".." / "CEDAR.toml").string());
    EXPECT_EQ(configuredStore().file, one);
}

// ---- What is refused

TEST(StateFile, ThatIsNoDatabaseIsRefusedAndLeftAlone)
{
    for (const std::string &text : {std::string(), std::string("my letter to grandmother\n"),
                                    std::string(5000, '\0'), std::string("SQLite format 3")}) {
        Stored stored;
        fs::create_directories(fs::path(stored.store.file).parent_path());
        std::ofstream(stored.store.file) << text;
        expectRefused(stored, " is damaged or of another program; it is left as it is");
    }
}

TEST(StateFile, OfAnotherProgramIsRefusedAndLeftAlone)
{
    for (const char *id : {"0", "42"}) {
        Stored stored;
        fs::create_directories(fs::path(stored.store.file).parent_path());
        Database(stored.store.file, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE)
            .script(("PRAGMA application_id = " + std::string(id)
                     + "; CREATE TABLE machine (x); INSERT INTO machine VALUES (1)")
                        .c_str());
        expectRefused(stored, " is damaged or of another program; it is left as it is");
    }
}

TEST(StateFile, ThatIsADirectoryOrAFifoIsRefused)
{
    Stored stored;
    fs::create_directories(stored.store.file);
    EXPECT_EQ(problemOf([&] { look(stored.store); }), stored.store.file + " is no regular file");
    fs::remove(stored.store.file);
    ASSERT_EQ(mkfifo(stored.store.file.c_str(), 0600), 0);
    EXPECT_EQ(problemOf([&] { look(stored.store); }), stored.store.file + " is no regular file");
}

TEST(StateFile, OfANewerVersionIsRefusedAndLeftAlone)
{
    Stored stored;
    openStore(stored.store);
    stored.store.database.reset();
    tamper(stored.store, "PRAGMA user_version = 77");
    expectRefused(stored, " was written by a newer version of this program (its tables have "
                          "version 77, known are those up to");
}

TEST(StateFile, ThatSaysWhatCantBeIsRefusedAndLeftAlone)
{
    const std::pair<const char *, const char *> cases[] = {
        {"UPDATE device SET state = 'asleep' WHERE class = 2", "cpu1 has a state that there is not"},
        {"UPDATE device SET bios = '' WHERE class = 2", "cpu1 has a state that there is not"},
        {"UPDATE device SET state = 'stopped' WHERE class = 2 AND number = 1",
         "CPU module 2 runs in duplex without its partner"},
        {"UPDATE device SET state = 'simplex' WHERE class = 2",
         "CPU module 1 runs in simplex beside its running partner"},
        {"UPDATE device SET state = 'synchronising' WHERE class = 2 AND number = 2",
         "CPU module 1 runs in duplex without its partner"},
        {"UPDATE device SET state = 'firmware update' WHERE class = 3 AND number = 3",
         "has new firmware without an update"},
        {"UPDATE device SET state = 'stopped' WHERE class = 8", "in the state of a module"},
        {"UPDATE device SET mtbf_type = 3 WHERE class = 2", "has an MTBF type that there is not"},
        {"UPDATE device SET since = 9000000000000000000 WHERE class = 2", "past that is to come"},
        {"UPDATE device SET since = -1 WHERE class = 2", "past that is to come"},
        {"INSERT INTO failure (class, number, time) VALUES (2, 1, 5)", "do not add up"},
        {"UPDATE device SET failure_count = -1 WHERE class = 2", "do not add up"},
        {"UPDATE device SET failure_count = 3000000000 WHERE class = 2", "do not add up"},
        {"UPDATE device SET failure_count = 1 WHERE class = 2; INSERT INTO failure (class, "
         "number, time) VALUES (2, 1, -9000000000000000000)",
         "has failed before there were such machines"},
        {"UPDATE device SET bios_version = '' WHERE class = 2", "has no BIOS"},
        {"UPDATE device SET bios_status = '' WHERE class = 2", "has no BIOS"},
        {"UPDATE device SET bios_version = 'x' WHERE class = 8",
         "SCSI adapter 1 has a BIOS and is no CPU module"},
        {"UPDATE device SET bios_version = printf('%1001d', 1) WHERE class = 2",
         "has a BIOS with too long a name"},
        {"INSERT INTO failure (class, number, time) VALUES (2, 7, 5)",
         "failures of a device that its description lacks"},
        {"DELETE FROM device WHERE class = 13 AND number = 4", "lacks a device of its description"},
        {"INSERT INTO device SELECT class, 9, state, since, mtbf_type, defective, failure_count, "
         "bios_version, bios_status, bios, new_bios, copies, starts_after FROM device WHERE class "
         "= 13 AND number = 4",
         "a device that its description lacks"},
        {"DELETE FROM machine", "a row is missing"},
        {"DROP TABLE failure", "its tables are not those of this program"},
        {"DROP TABLE journal", "its tables are not those of this program"},
        {"DROP TABLE injection", "its tables are not those of this program"},
        {"DROP TRIGGER journal_is_not_changed", "its tables are not those of this program"},
        {"DROP INDEX failure_of_device", "its tables are not those of this program"},
        {"ALTER TABLE journal ADD COLUMN more TEXT", "its tables are not those of this program"},
        {"CREATE TRIGGER strange AFTER INSERT ON journal BEGIN DELETE FROM device; END",
         "its tables are not those of this program"},
        {"CREATE VIEW recipes AS SELECT 1", "its tables are not those of this program"},
        {"UPDATE machine SET description = 'x'", "is damaged: its description:1:"},
        {"UPDATE machine SET scale = -1", "its clock is out of range"},
        {"UPDATE machine SET scale = 1e300 * 1e300", "its clock is out of range"},
        {"UPDATE machine SET simulated = -1", "its clock is out of range"},
        {"UPDATE machine SET real = 9223372036854775807", "its clock is out of range"},
        {"UPDATE machine SET real = -9223372036854775807 - 1", "its clock is out of range"},
        {"UPDATE machine SET mtbf_threshold = -1", "it has an MTBF threshold that there is not"},
        {"UPDATE machine SET mtbf_threshold = 3153600000000001",
         "it has an MTBF threshold that there is not"},
        {"UPDATE machine SET data_file = printf('%1001d', 1)",
         "it has a data file with too long a version"},
    };
    for (const auto &[sql, reason] : cases) {
        Stored stored;
        openStore(stored.store);
        stored.store.database.reset();
        tamper(stored.store, sql);
        SCOPED_TRACE(sql);
        expectRefused(stored, reason);
    }
}

// Only free space at the very end can be missed without harm.
TEST(StateFile, CutOffAnywhereIsRefusedOrComplete)
{
    Stored stored;
    const Machine machine = look(stored.store);
    stored.store.database.reset();
    const std::string whole = readFile(stored.store.file);
    int refused = 0;
    for (size_t length = 0; length < whole.size(); length += 1021) {
        std::ofstream(stored.store.file, std::ios::binary | std::ios::trunc)
            << whole.substr(0, length);
        const std::string problem = problemOf([&] { look(stored.store); });
        SCOPED_TRACE(length);
        if (problem.empty()) {
            EXPECT_TRUE(look(stored.store).devices == machine.devices);
            EXPECT_EQ(journalOf(stored.store).size(), 1u);
        } else {
            ++refused;
            expectRefused(stored, " is damaged");
        }
        stored.store.database.reset();
    }
    EXPECT_GT(refused, 25);
}

// Also where nothing reads it that was asked for.
TEST(StateFile, DamagedInAPageOfTheJournalIsRefused)
{
    Stored stored;
    for (int i = 0; i < 300; ++i)
        perform(stored.store, {.verb = Verb::set, .argument = "data_file=" + std::to_string(i)});
    stored.store.database.reset();
    std::string bytes = readFile(stored.store.file);
    const size_t page = bytes.find("data_file=150") / 4096 * 4096;
    ASSERT_LT(page, bytes.size());
    bytes.replace(page, 4096, 4096, '\xff');
    std::ofstream(stored.store.file, std::ios::binary | std::ios::trunc) << bytes;
    expectRefused(stored, " is damaged");
}

// Whatever single byte is wrong: either the file is refused and stays as it is, or the wrong byte
// says nothing that matters and the machine can be used.
TEST(StateFile, WithAWrongByteIsRefusedOrUsedButNeverBringsTheProgramDown)
{
    Stored stored;
    openStore(stored.store);
    perform(stored.store, stopCpu2);
    stored.store.database.reset();
    const std::string whole = readFile(stored.store.file);
    int refused = 0;
    for (size_t at = 0; at < whole.size(); at += 37) {
        std::string wrong = whole;
        wrong[at] = static_cast<char>(wrong[at] ^ 0xFF);
        std::ofstream(stored.store.file, std::ios::binary | std::ios::trunc) << wrong;
        const std::string problem = problemOf([&] { look(stored.store); });
        stored.store.database.reset();
        if (problem.empty())
            continue;
        ++refused;
        EXPECT_TRUE(readFile(stored.store.file) == wrong) << at << ": " << problem;
    }
    EXPECT_GT(refused, 100);
}

TEST(StateFile, ThatCantBeWrittenSaysSo)
{
    Stored stored;
    openStore(stored.store);
    stored.store.database.reset();
    fs::permissions(stored.store.file, fs::perms(0444));
    const std::string before = bytesOf(stored.store);
    EXPECT_EQ(problemOfAnybody([&] { look(stored.store); }),
              stored.store.file + " can't be used: Permission denied");
    EXPECT_TRUE(bytesOf(stored.store) == before);
}

TEST(StateFile, ThatCantBeMadeSaysSo)
{
    Stored stored;
    fs::permissions(stored.sandbox.directory(), fs::perms(0555));
    EXPECT_EQ(problemOfAnybody([&] { look(stored.store); }),
              fs::path(stored.store.file).parent_path().string()
                  + " can't be written: Permission denied");
    fs::permissions(stored.sandbox.directory(), fs::perms(0755));
    EXPECT_FALSE(fs::exists(fs::path(stored.store.file).parent_path()));
}

TEST(StateFile, BesideOfForeignFilesIsRefusedAndTheyAreLeftAlone)
{
    Stored stored;
    openStore(stored.store);
    stored.store.database.reset();
    for (const char *ending : {"-wal", "-shm", "-journal"})
        for (const std::string text : {"my diary\n", "x"}) {
            const std::string file = stored.store.file + ending;
            std::ofstream(file) << text;
            EXPECT_EQ(problemOf([&] { look(stored.store); }),
                      file + " is damaged or of another program; it is left as it is, move it away "
                             "to go on without it");
            EXPECT_EQ(readFile(file), text);
            fs::remove(file);
            fs::create_directory(file);
            EXPECT_NE(problemOf([&] { look(stored.store); }), "");
            fs::remove(file);
        }
    EXPECT_EQ(problemOf([&] { look(stored.store); }), "");
}

TEST(StateFile, BesideOfEmptyLogsIsTaken)
{
    Stored stored;
    openStore(stored.store);
    stored.store.database.reset();
    for (const char *ending : {"-wal", "-shm", "-journal"})
        for (const size_t size : {size_t{0}, size_t{4096}}) {
            std::ofstream(stored.store.file + ending) << std::string(size, '\0');
            EXPECT_EQ(problemOf([&] { look(stored.store); }), "") << ending << " " << size;
            stored.store.database.reset();
        }
}

// ---- Versions

TEST(StateFile, OfTheFirstVersionIsBroughtUpToDate)
{
    Stored stored;
    openStore(stored.store);
    perform(stored.store, stopCpu2);
    stored.store.database.reset();
    tamper(stored.store, "DROP TABLE injection; PRAGMA user_version = 1");

    EXPECT_EQ(find(look(stored.store), cpu2)->state, State::stopping);
    EXPECT_EQ(journalOf(stored.store).size(), 2u);
    EXPECT_EQ(stored.store.database->number("PRAGMA user_version"), schemaVersion);
    inject(stored.store, {.call = "InitBringUp", .result = 0});
    EXPECT_EQ(injections(stored.store).size(), 1u);
}

// A change of a published script would leave two kinds of files with one version number.
TEST(StateFile, HasTablesThatStayAsTheyWerePublished)
{
    const auto hash = [](const char *text) {
        uint64_t result = 0xcbf29ce484222325;
        for (const char *byte = text; *byte; ++byte)
            result = (result ^ static_cast<unsigned char>(*byte)) * 0x100000001b3;
        return result;
    };
    EXPECT_EQ(hash(migrations[0]), 14123809256598249077u);
    EXPECT_EQ(hash(migrations[1]), 9699884211670217436u);
    EXPECT_EQ(schemaVersion, 2);
}

// ---- The journal

TEST(Journal, CantBeRewritten)
{
    Stored stored;
    perform(stored.store, stopCpu2);
    for (const char *sql :
         {"UPDATE journal SET user = 'nobody'", "DELETE FROM journal",
          "DELETE FROM journal WHERE id = 2",
          "INSERT OR REPLACE INTO journal VALUES (2, 0, 0, '', '', '', '', 0, '', '')",
          "REPLACE INTO journal VALUES (1, 0, 0, '', '', '', '', 0, '', '')"})
        EXPECT_NE(problemOf([&] { stored.store.database->script(sql); })
                      .find("the journal is never rewritten"),
                  std::string::npos)
            << sql;
    EXPECT_EQ(journalOf(stored.store).size(), 2u);
}

TEST(Journal, GoesOnWhenTheMachineIsMadeAnew)
{
    Stored stored;
    perform(stored.store, stopCpu2);
    perform(stored.store, stopCpu2);
    resetMachine(stored.store);
    const std::string other = (stored.sandbox.directory() / "other.toml").string();
    std::ofstream(other) << shipped("ALDER");
    importMachine(stored.store, other);
    const auto rows = journalOf(stored.store);
    ASSERT_EQ(rows.size(), 5u);
    EXPECT_EQ(rows[1].result, "done");
    EXPECT_EQ(rows[1].device, "cpu2");
    EXPECT_EQ(rows[1].operation, "InitBringDown");
    EXPECT_EQ(rows[1].code, 8);
    EXPECT_EQ(rows[2].result, "refused: the device does not run");
    EXPECT_EQ(rows[3].operation, "reset");
    EXPECT_EQ(rows[4].operation, "import");
    EXPECT_EQ(rows[4].argument, other);
    EXPECT_EQ(look(stored.store).type, YAT_MACHINE_ALDER);
    resetMachine(stored.store);
    EXPECT_EQ(look(stored.store).type, YAT_MACHINE_CEDAR);
}

TEST(Journal, IsReadFromItsEnd)
{
    Stored stored;
    for (int i = 0; i < 5; ++i)
        perform(stored.store, stopCpu2);
    std::vector<int64_t> ids;
    readJournal(stored.store, 2, [&](const JournalRow &row) { ids.push_back(row.id); });
    EXPECT_EQ(ids, (std::vector<int64_t>{5, 6}));
}

// As when the system's clock is put back by an hour after an operation that changed nothing.
TEST(Journal, NeverGoesBackInTime)
{
    Stored stored;
    stored.sandbox.set("YAT_TIME_SCALE", "1");
    openStore(stored.store);
    const Operation refused = {.verb = Verb::bringUp, .device = cpu2, .code = 6};
    perform(stored.store, refused);
    stored.store.database->script("UPDATE machine SET real = real + 3600000000");
    perform(stored.store, refused);
    const auto rows = journalOf(stored.store);
    ASSERT_EQ(rows.size(), 3u);
    EXPECT_GT(rows[1].simulated, rows[0].simulated);
    EXPECT_GE(rows[2].simulated, rows[1].simulated);
}

// ---- The description

TEST(DescriptionFile, ThatChangedIsToldAndTheStateKept)
{
    Stored stored;
    perform(stored.store, stopCpu2);
    EXPECT_EQ(descriptionNote(stored.store), "");
    const std::string file = stored.store.descriptionFile;
    std::ofstream(file) << shipped("ALDER");
    EXPECT_EQ(descriptionNote(stored.store),
              file + " has changed since; the state is kept, 'yatsim reset' makes it anew");
    EXPECT_EQ(find(look(stored.store), cpu2)->state, State::stopping);
    std::ofstream(file) << "broken";
    EXPECT_EQ(find(look(stored.store), cpu2)->state, State::stopping);
    EXPECT_TRUE(problemOf([&] { resetMachine(stored.store); }).starts_with(file + ":1: "));
    EXPECT_EQ(find(look(stored.store), cpu2)->state, State::stopping);
    fs::remove(file);
    EXPECT_EQ(descriptionNote(stored.store),
              file + ": can't be read: No such file or directory; the state is kept");
    EXPECT_EQ(find(look(stored.store), cpu2)->state, State::stopping);
}

TEST(DescriptionFile, ThatWasImportedIsTold)
{
    Stored stored;
    const std::string other = (stored.sandbox.directory() / "other.toml").string();
    std::ofstream(other) << shipped("ALDER");
    importMachine(stored.store, other);
    EXPECT_EQ(descriptionNote(stored.store), "made from " + other
                                                 + "; 'yatsim reset' makes it anew from "
                                                 + stored.store.descriptionFile);
}

TEST(DescriptionFile, ThatWasImportedIsToldWithItsWholePath)
{
    Stored stored;
    const fs::path other = stored.sandbox.directory() / "other.toml", before = fs::current_path();
    std::ofstream(other) << shipped("ALDER");
    fs::current_path(stored.sandbox.directory());
    importMachine(stored.store, "other.toml");
    fs::current_path(before);
    EXPECT_EQ(journalOf(stored.store)[1].argument, other.string());
    EXPECT_TRUE(descriptionNote(stored.store).starts_with("made from " + other.string() + ";"));
}

// ---- The clock

TEST(MachineClock, NeverRunsBackwards)
{
    // A process after the other, each with its own pace and an own view of the real time.
    Clock clock = {.simulated = 1000 * second, .real = 500 * second, .scale = 1};
    Time before = clock.simulated, real = clock.real;
    const double scales[] = {1, 0, 1000, 0.001, 1e6, 3.7};
    for (int i = 0; i < 600; ++i) {
        real += (i % 7 - 2) * second / 3; // also back
        const Time now = simulatedTime(clock, real);
        EXPECT_GE(now, before);
        before = now;
        clock = continued(clock, real, scales[i % 6]);
        EXPECT_EQ(simulatedTime(clock, real), now);
        EXPECT_EQ(simulatedTime(clock, real - hour), now);
    }
}

TEST(MachineClock, RunsAtThePaceOfWhoeverLookedLast)
{
    const Clock clock = {.simulated = hour, .real = 0, .scale = 60};
    EXPECT_EQ(simulatedTime(clock, second), hour + 60 * second);
    const Clock frozen = continued(clock, second, 0);
    EXPECT_EQ(simulatedTime(frozen, hour), hour + 60 * second);
    const Clock slow = continued(frozen, hour, 0.5);
    EXPECT_EQ(simulatedTime(slow, hour + 10 * second), hour + 65 * second);
}

TEST(MachineClock, StopsAtTheEndOfItsRange)
{
    const Clock clock = {.simulated = hour, .real = 0, .scale = fastest};
    EXPECT_EQ(simulatedTime(clock, lastMoment), lastMoment);
    EXPECT_EQ(simulatedTime(continued(clock, lastMoment, 1), lastMoment), lastMoment);
}

TEST(MachineClock, TakesItsPaceFromTheEnvironment)
{
    Sandbox sandbox;
    const std::pair<const char *, double> cases[] = {
        {"", 1},   {"0", 0},     {"2.5", 2.5}, {"60", 60}, {"1e3", 1000},
        {"1000000", fastest},
    };
    for (const auto &[text, scale] : cases) {
        sandbox.set("YAT_TIME_SCALE", text);
        EXPECT_EQ(wantedScale(), scale) << text;
        EXPECT_EQ(scaleMistake(), "");
    }
    for (const std::string text : {"-1", "fast", "5x", "nan", "inf", "1e99", "1000000.1", " 1"}) {
        sandbox.set("YAT_TIME_SCALE", text);
        const std::string mistake = "wrong value '" + text
                                    + "' for YAT_TIME_SCALE, expected a number from 0 to 1000000";
        EXPECT_EQ(scaleMistake(), mistake);
        EXPECT_EQ(problemOf([] { configuredStore(); }), mistake);
    }
}

TEST(MachineClock, GoesOnWhereItWasInTheNextProcess)
{
    Stored stored;
    perform(stored.store, {.verb = Verb::set, .argument = "time=+100"});
    const Time now = look(stored.store).now;
    stored.store.database.reset();
    EXPECT_EQ(look(stored.store).now, now);
    resetMachine(stored.store);
    EXPECT_LT(look(stored.store).now, now); // the real time again
}

namespace {

// The terminal that the journal has of a process whose standard input is that of the terminal, or
// not.
std::string terminalOfAsker(const char *terminal, bool atInput)
{
    int told[2];
    EXPECT_EQ(pipe(told), 0);
    const pid_t child = fork();
    if (child == 0) {
        setsid();
        const int own = terminal ? open(terminal, O_RDWR) : -1; // becomes the controlling one
        dup2(atInput ? own : open("/dev/null", O_RDONLY), STDIN_FILENO);
        const std::string name = whoAsks().terminal;
        _exit(write(told[1], name.data(), name.size()) < 0);
    }
    close(told[1]);
    char name[256] = "";
    const ssize_t length = read(told[0], name, sizeof name);
    close(told[0]);
    waitpid(child, nullptr, 0);
    return std::string(name, static_cast<size_t>(std::max<ssize_t>(length, 0)));
}

} // namespace

TEST(Journal, NamesTheTerminalWhereverTheInputComesFrom)
{
    const int master = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    ASSERT_EQ(grantpt(master), 0);
    ASSERT_EQ(unlockpt(master), 0);
    const std::string terminal = ptsname(master);
    EXPECT_EQ(terminalOfAsker(terminal.c_str(), true), terminal);
    EXPECT_EQ(terminalOfAsker(terminal.c_str(), false), terminal);
    EXPECT_EQ(terminalOfAsker(nullptr, false), "");
    close(master);
}

// ---- Injections

TEST(Injection, IsTakenOutAsOftenAsItSays)
{
    Stored stored;
    inject(stored.store, {.call = "InitBringDown", .result = 5, .times = 2});
    inject(stored.store, {.call = "InitBringUp", .times = 0});
    inject(stored.store, {.call = "InitBringDown", .result = 6});
    std::vector<int> answers;
    for (int i = 0; i < 4; ++i)
        answers.push_back(perform(stored.store, stopCpu2).injected.value_or(-99));
    EXPECT_EQ(answers, (std::vector<int>{5, 5, 6, -99}));
    EXPECT_EQ(find(look(stored.store), cpu2)->state, State::stopping); // by the last one
    ASSERT_EQ(injections(stored.store).size(), 1u);
    clearInjections(stored.store, "InitBringUp");
    EXPECT_TRUE(injections(stored.store).empty());
    const auto rows = journalOf(stored.store);
    EXPECT_EQ(rows[4].result, "injected: 5");
    EXPECT_EQ(rows[6].result, "injected: 6");
    EXPECT_EQ(rows[7].result, "done");
    EXPECT_EQ(rows[8].argument, "InitBringUp off");
}

namespace {

// A process that stops CPU module 2 in a machine whose calls for that hang.
pid_t hangingStop(Stored &stored)
{
    const pid_t child = fork();
    if (child == 0) {
        stored.store.database.release(); // the parent's
        perform(stored.store, stopCpu2);
        _exit(0);
    }
    return child;
}

bool sleeps(pid_t process)
{
    std::ifstream file("/proc/" + std::to_string(process) + "/syscall");
    long call = -1;
    return file >> call && (call == SYS_nanosleep || call == SYS_clock_nanosleep);
}

bool isSleepingSoon(pid_t process)
{
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!sleeps(process))
        if (std::chrono::steady_clock::now() > limit)
            return false;
    return true;
}

} // namespace

TEST(Injection, ThatHangsLetsOthersGoOn)
{
    Stored stored;
    inject(stored.store, {.call = "InitBringDown", .result = 0, .delay = 2000});
    const pid_t child = hangingStop(stored);
    ASSERT_TRUE(isSleepingSoon(child));
    EXPECT_EQ(perform(stored.store, {.verb = Verb::fail, .device = cpu2}).refusal, Refusal::none);
    int status = -1;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    const auto rows = journalOf(stored.store);
    ASSERT_EQ(rows.size(), 4u);
    EXPECT_EQ(rows[2].operation, "fail");
    EXPECT_EQ(rows[3].operation + " " + rows[3].result, "InitBringDown injected: 0");
    EXPECT_TRUE(injections(stored.store).empty());
}

TEST(Injection, ThatHangsIsStillThereWhenTheProgramIsKilled)
{
    Stored stored;
    inject(stored.store, {.call = "InitBringDown", .result = 0, .delay = 86'400'000});
    const pid_t child = hangingStop(stored);
    ASSERT_TRUE(isSleepingSoon(child));
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    EXPECT_EQ(find(look(stored.store), cpu2)->state, State::duplex);
    EXPECT_EQ(journalOf(stored.store).back().operation, "inject");
    EXPECT_EQ(injections(stored.store).size(), 1u);
}

TEST(Injection, ThatIsTakenBackWhileACallHangsIsNotAnswered)
{
    Stored stored;
    inject(stored.store, {.call = "InitBringDown", .result = 0, .delay = 86'400'000});
    const pid_t child = hangingStop(stored);
    ASSERT_TRUE(isSleepingSoon(child));
    clearInjections(stored.store, "InitBringDown");
    waitpid(child, nullptr, 0);
    EXPECT_EQ(journalOf(stored.store).back().result, "done");
    EXPECT_EQ(find(look(stored.store), cpu2)->state, State::stopping);
}

// Its number is given out again; it is another one all the same.
TEST(Injection, ThatIsMadeAnewWhileACallHangsIsWhatTheCallAnswers)
{
    Stored stored;
    inject(stored.store, {.call = "InitBringDown", .result = 0, .delay = 86'400'000});
    const pid_t child = hangingStop(stored);
    ASSERT_TRUE(isSleepingSoon(child));
    stored.store.database->transaction([&] {
        stored.store.database->run("DELETE FROM injection");
        stored.store.database->run("INSERT INTO injection (id, call, result, times, delay) "
                                   "VALUES (1, 'InitBringDown', 7, 1, 300)");
    });
    const auto before = std::chrono::steady_clock::now();
    waitpid(child, nullptr, 0);
    EXPECT_GE(std::chrono::steady_clock::now() - before, std::chrono::milliseconds(300));
    EXPECT_EQ(journalOf(stored.store).back().result, "injected: 7");
}
