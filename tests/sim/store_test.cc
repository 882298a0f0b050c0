// SPDX-License-Identifier: GPL-2.0-or-later
// The store: what a call costs, and what of it is on the disk.
#include "dying.h"
#include "sim/injection.h"
#include "sim/statefile.h"
#include "stored.h"
#include "yat/export.h"

#include <algorithm>
#include <climits>
#include <csignal>
#include <sqlite3.h>
#include <sys/resource.h>
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
