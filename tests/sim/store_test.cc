// SPDX-License-Identifier: GPL-2.0-or-later
// The store: what a call costs, what of it is on the disk, the journal, and another description.
#include "dying.h"
#include "sim/injection.h"
#include "sim/statefile.h"
#include "stored.h"
#include "yat/export.h"
#include "yatsim/steering.h"

#include <algorithm>
#include <climits>
#include <csignal>
#include <fcntl.h>
#include <sqlite3.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

namespace fs = std::filesystem;

namespace {

int syncs; // of this process
int waits; // of SQLite for another program

int countWait(sqlite3_vfs *, int microseconds)
{
    ++waits;
    return microseconds;
}

} // namespace

// In the place of the C library's, for SQLite as well.
extern "C" YAT_API int fdatasync(int file)
{
    ++syncs;
    return fsync(file);
}

namespace {

using namespace sim;

int noteStatement(unsigned, void *statements, void *, void *sql)
{
    static_cast<std::vector<std::string> *>(statements)
        ->emplace_back(static_cast<const char *>(sql));
    return 0;
}

// What the store lets SQLite do while work goes on.
std::vector<std::string> statementsOf(Store &store, const std::function<void()> &work)
{
    openStore(store);
    std::vector<std::string> statements;
    sqlite3 *handle = store.database->handle.get();
    sqlite3_trace_v2(handle, SQLITE_TRACE_STMT, noteStatement, &statements);
    work();
    sqlite3_trace_v2(handle, 0, nullptr, nullptr);
    return statements;
}

long howMany(const std::vector<std::string> &statements, const std::string &beginning)
{
    return std::ranges::count_if(
        statements, [&](const std::string &each) { return each.starts_with(beginning); });
}

} // namespace

// ---- What a call costs

TEST(Store, ReadsNothingWhileNobodyWrites)
{
    Stored stored;
    look(stored.store);
    injections(stored.store);
    EXPECT_EQ(statementsOf(stored.store,
                           [&] {
                               look(stored.store);
                               takeInjection(stored.store, "Linux_ConvertDataToInt");
                           }),
              std::vector<std::string>());
}

TEST(Store, ReadsInOneTransactionWhatAnotherProgramWrote)
{
    Stored stored;
    Store other = {.file = stored.store.file, .descriptionFile = stored.store.descriptionFile};
    look(stored.store);
    perform(other, stopCpu2);
    const auto statements = statementsOf(stored.store, [&] {
        EXPECT_EQ(find(look(stored.store), cpu2)->state, State::stopping);
        look(stored.store);
    });
    EXPECT_EQ(howMany(statements, "BEGIN"), 1) << testing::PrintToString(statements);
    EXPECT_EQ(howMany(statements, "BEGIN IMMEDIATE"), 0);
}

TEST(Store, KnowsWhatItWroteItself)
{
    Stored stored;
    perform(stored.store, stopCpu2);
    const auto statements = statementsOf(stored.store, [&] { look(stored.store); });
    EXPECT_EQ(howMany(statements, "SELECT"), 0) << testing::PrintToString(statements);
}

TEST(Store, WritesOnceForAnOperationAndNoDeviceThatStaysAsItWas)
{
    Stored stored;
    look(stored.store);
    const auto statements = statementsOf(stored.store, [&] { perform(stored.store, stopCpu2); });
    EXPECT_EQ(howMany(statements, "BEGIN"), 1) << testing::PrintToString(statements);
    EXPECT_EQ(howMany(statements, "INSERT OR REPLACE INTO device"), 2); // it and its partner
    EXPECT_EQ(howMany(statements, "INSERT OR REPLACE INTO journal"), 1);
}

TEST(Store, NeverWaitsForAWriterToLook)
{
    Stored stored;
    look(stored.store);
    yat::Database other(stored.store.file, SQLITE_OPEN_READWRITE);
    const yat::Transaction writes(other, true);
    other.exec("UPDATE machine SET data_file = 'unfinished'");
    EXPECT_EQ(look(stored.store).dataFileVersion, "4.1.0072"); // or it would fail in the end
    stored.store.database.reset();
    EXPECT_EQ(look(stored.store).dataFileVersion, "4.1.0072");
}

TEST(Store, LooksAtWhatIsDueWhileAnotherProgramWrites)
{
    Stored stored;
    stored.sandbox.set("YAT_TIME_SCALE", "1000000");
    perform(stored.store, stopCpu2);
    sqlite3_vfs *system = sqlite3_vfs_find(nullptr);
    const auto sleeps = std::exchange(system->xSleep, countWait);
    {
        yat::Database other(stored.store.file, SQLITE_OPEN_READWRITE);
        const yat::Transaction writes(other, true);
        while (find(look(stored.store), cpu2)->state != State::stopped) {
        }
    }
    system->xSleep = sleeps;
    EXPECT_EQ(waits, 0);
    EXPECT_EQ(find(readState(*openStateFile(stored.store.file)).machine, cpu2)->state,
              State::stopping);
    EXPECT_EQ(perform(stored.store, stopCpu2), Refusal::notRunning);
    EXPECT_EQ(find(readState(*openStateFile(stored.store.file)).machine, cpu2)->state,
              State::stopped);
}

namespace {

void limitFiles(rlim_t bytes)
{
    const rlimit limit = {.rlim_cur = bytes, .rlim_max = RLIM_INFINITY};
    setrlimit(RLIMIT_FSIZE, &limit);
}

void expectLooksWithoutWriting(void (*keepFromWriting)(), void (*letWrite)())
{
    Stored stored;
    stored.sandbox.set("YAT_TIME_SCALE", "1000000");
    perform(stored.store, stopCpu2);
    keepFromWriting();
    while (find(look(stored.store), cpu2)->state != State::stopped) {
    }
    EXPECT_EQ(find(look(stored.store), {YAT_CLASS_CPU_MODULE, 1})->state, State::simplex);
    EXPECT_THROW(perform(stored.store, stopCpu2), yat::Problem);
    EXPECT_EQ(find(readState(*openStateFile(stored.store.file)).machine, cpu2)->state,
              State::stopping);
    letWrite();
    EXPECT_EQ(perform(stored.store, stopCpu2), Refusal::notRunning);
    EXPECT_EQ(find(readState(*openStateFile(stored.store.file)).machine, cpu2)->state,
              State::stopped);
}

} // namespace

TEST(Store, LooksAtWhatIsDueWhileTheDiskIsFull)
{
    expectLooksWithoutWriting([] { fillDiskAtWrite(1, INT_MAX); }, [] { fillDiskAtWrite(0, 0); });
}

TEST(Store, LooksAtWhatIsDueWhileTheDiskTakesNothing)
{
    signal(SIGXFSZ, SIG_IGN);
    expectLooksWithoutWriting([] { limitFiles(0); }, [] { limitFiles(RLIM_INFINITY); });
}

TEST(Store, SyncsOncePerOperationAndNotToLook)
{
    Stored stored;
    stored.sandbox.set("YAT_TIME_SCALE", "1000000");
    perform(stored.store, {.verb = Verb::set, .argument = "data_file=1"});
    syncs = 0;
    perform(stored.store, stopCpu2);
    EXPECT_EQ(syncs, 1);
    while (find(look(stored.store), cpu2)->state != State::stopped) {
    }
    EXPECT_EQ(syncs, 1); // although that was written:
    EXPECT_EQ(find(readState(*openStateFile(stored.store.file)).machine, cpu2)->state,
              State::stopped);
    perform(stored.store, {.verb = Verb::set, .argument = "data_file=2"});
    EXPECT_EQ(syncs, 2);
}

TEST(Store, ForgetsWhatCouldNotBeWritten)
{
    Stored stored;
    perform(stored.store, {.verb = Verb::set, .argument = "data_file=1"});
    EXPECT_THROW(write(stored.store,
                       [&] {
                           apply(stored.store.state.machine, stopCpu2);
                           EXPECT_EQ(find(look(stored.store), cpu2)->state, State::stopping);
                           throw std::logic_error("on the way");
                       }),
                 std::logic_error);
    EXPECT_EQ(find(look(stored.store), cpu2)->state, State::duplex);
    perform(stored.store, stopCpu2);
    EXPECT_EQ(find(look(stored.store), cpu2)->state, State::stopping);
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
        EXPECT_THROW(tamper(stored.store, sql), yat::SqliteError) << sql;
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
    EXPECT_EQ(rows[2].result, "refused: the device is not running");
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
    readJournal(stored.store, 2, [&](const JournalRow &row) { ids.push_back(*row.id); });
    EXPECT_EQ(ids, (std::vector<int64_t>{5, 6}));
}

// As when the system's clock is put back by an hour after an operation that changed nothing.
TEST(Journal, NeverGoesBackInTime)
{
    Stored stored;
    stored.sandbox.set("YAT_TIME_SCALE", "1");
    openStore(stored.store);
    const Order refused = {.verb = Verb::bringUp, .device = cpu2, .code = 6};
    perform(stored.store, refused);
    tamper(stored.store, "UPDATE machine SET real = real + 3600000000");
    const Time before = look(stored.store).now;
    EXPECT_GE(before, journalOf(stored.store)[1].simulated);
    perform(stored.store, refused);
    const auto rows = journalOf(stored.store);
    ASSERT_EQ(rows.size(), 3u);
    EXPECT_GT(rows[1].simulated, rows[0].simulated);
    EXPECT_GE(rows[2].simulated, before);
}

namespace {

// The terminal that the journal has of a process with the terminal as its standard file of that
// number, or with none.
std::string terminalOfCaller(const char *terminal, int number)
{
    int told[2];
    EXPECT_EQ(pipe(told), 0);
    const pid_t child = forkUntilDeadline();
    if (child == 0) {
        for (int file = STDIN_FILENO; file <= STDERR_FILENO; ++file)
            dup2(open("/dev/null", O_RDWR), file);
        if (terminal)
            dup2(open(terminal, O_RDWR | O_NOCTTY), number);
        const std::string name = yat::thisCaller().terminal;
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
    for (int file = STDIN_FILENO; file <= STDERR_FILENO; ++file)
        EXPECT_EQ(terminalOfCaller(terminal.c_str(), file), terminal);
    EXPECT_EQ(terminalOfCaller(nullptr, 0), "");
    close(master);
}

// ---- The description

TEST(DescriptionFile, IsNotNeededUntilTheMachineIsMadeAnew)
{
    Stored stored;
    perform(stored.store, stopCpu2);
    const std::string file = stored.store.descriptionFile;
    std::ofstream(file) << "broken";
    stored.store.database.reset();
    EXPECT_EQ(find(look(stored.store), cpu2)->state, State::stopping);
    EXPECT_TRUE(problemOf([&] { resetMachine(stored.store); }).starts_with(file + ":1: "));
    EXPECT_EQ(find(look(stored.store), cpu2)->state, State::stopping);
}

TEST(DescriptionFile, ThatIsImportedIsWrittenDownWithItsWholePath)
{
    Stored stored;
    const fs::path other = stored.sandbox.directory() / "other.toml", before = fs::current_path();
    std::ofstream(other) << shipped("ALDER");
    fs::current_path(stored.sandbox.directory());
    importMachine(stored.store, "other.toml");
    fs::current_path(before);
    EXPECT_EQ(journalOf(stored.store)[1].argument, other.string());
    const std::string odd(5000, 'x'); // longer than a path can be
    EXPECT_EQ(wholePath(odd), odd);
}
