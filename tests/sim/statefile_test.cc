// SPDX-License-Identifier: GPL-2.0-or-later
// The state file: how it comes to be.
#include "common/numbers.h"
#include "sim/statefile.h"
#include "stored.h"
#include "support/privileges.h"
#include "yatsim/journal.h"

#include <algorithm>
#include <set>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;

using namespace sim;

TEST(StateFile, IsMadeFromTheDescriptionAtFirstUse)
{
    Stored stored;
    EXPECT_TRUE(openStore(stored.store));
    EXPECT_FALSE(openStore(stored.store));
    EXPECT_EQ(look(stored.store).devices.size(), 11u);
    EXPECT_EQ(stored.store.database->number("PRAGMA user_version"), stateVersion);
    const auto rows = journalOf(stored.store);
    ASSERT_EQ(rows.size(), 1u);
    EXPECT_EQ(rows[0].operation, "init");
    EXPECT_EQ(rows[0].user, "tester");
    EXPECT_EQ(rows[0].terminal, "/dev/pts/9");
}

// Once a release was made: whoever changes the tables counts the version up.
TEST(StateFile, HasTheTablesOfItsVersion)
{
    EXPECT_EQ(stateVersion, 1);
    EXPECT_EQ(yat::hashOf(schema()), 0x3c8c62c47b89bf02) << schema();
}

TEST(StateFile, HoldsTheSpeedOfTheClockAsItIs)
{
    Stored stored("CEDAR");
    stored.sandbox.set("YAT_TIME_SCALE", "60");
    look(stored.store);
    EXPECT_EQ(stored.store.database->number("SELECT scale FROM machine"), 60);
}

// What the description says is needed no more then.
TEST(StateFile, HoldsTheWholeMachine)
{
    for (const char *name : {"ALDER", "BIRCH", "CEDAR", "PLAIN"}) {
        Stored stored(name);
        stored.sandbox.set("YAT_TIME_SCALE", "0");
        const Machine made = look(stored.store);
        stored.store.database.reset();
        fs::remove(stored.store.descriptionFile);
        EXPECT_TRUE(look(stored.store) == made) << name;
        EXPECT_FALSE(made.name.empty());
    }
    Stored stored("CEDAR", shipped("CEDAR", "response = [0, 32, 1, 4, 0x17, 2]", ""));
    EXPECT_TRUE(look(stored.store).bmcResponse.empty());
}

TEST(StateFile, IsNotMadeFromADescriptionWithMistakes)
{
    Stored stored("CEDAR", "type = 5\nnam = 1\n");
    const std::string problem = problemOf([&] { look(stored.store); });
    EXPECT_TRUE(problem.starts_with(stored.store.descriptionFile + ":1: ")) << problem;
    EXPECT_FALSE(fs::exists(stored.store.file));
}

TEST(StateFile, IsMadeOnceByAnyNumberOfProcesses)
{
    for (int round = 0; round < 20; ++round) {
        Stored stored;
        int made = 0;
        std::vector<pid_t> children;
        for (int i = 0; i < 4; ++i)
            if (const pid_t child = forkUntilDeadline(); child == 0)
                _exit(problemOf([&] { made = openStore(stored.store) ? 1 : 0; }).empty() ? made
                                                                                         : 9);
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
    perform(stored.store, stopCpu2);
    // The log of a state that is gone, and half a new one.
    const std::string log = readFile(stored.store.file + "-wal");
    ASSERT_FALSE(log.empty());
    stored.store.database.reset();
    fs::remove(stored.store.file);
    std::ofstream(stored.store.file + "-wal") << log;
    std::ofstream(stored.store.file + "-wal.aside") << "of another time";
    std::ofstream(stored.store.file + ".new") << "half";
    EXPECT_TRUE(openStore(stored.store));
    EXPECT_EQ(journalOf(stored.store).size(), 1u);
    EXPECT_EQ(find(look(stored.store), cpu2)->state, State::duplex);
    EXPECT_EQ(readFile(stored.store.file + "-wal.aside"), "of another time");
    EXPECT_EQ(readFile(stored.store.file + "-wal.aside.2"), log); // it may be all that is left
    EXPECT_FALSE(fs::exists(stored.store.file + ".new"));
}

TEST(StateFile, IsNotMadeBesideALogThatCantBeSetAside)
{
    Stored stored;
    const fs::path machines = fs::path(stored.store.file).parent_path();
    stored.store.file = machines / (std::string(243, 'x') + ".db"); // no room for another ending
    fs::create_directories(machines);
    std::ofstream(stored.store.file + "-wal") << "all that is left";
    EXPECT_EQ(problemOf([&] { look(stored.store); }),
              stored.store.file
                  + "-wal is left from an earlier file and can't be renamed: File name too long");
    EXPECT_FALSE(fs::exists(stored.store.file));
    EXPECT_EQ(readFile(stored.store.file + "-wal"), "all that is left");
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
    EXPECT_NE(configuredStore().file, one);
    stored.sandbox.set("YAT_MACHINE",
                       (stored.sandbox.directory() / "x" / ".." / "CEDAR.toml").string());
    EXPECT_EQ(configuredStore().file, one);
}

TEST(StateFile, OfAMachineWithALongNameHasRoomForItsEndings)
{
    Stored stored;
    std::set<std::string> names;
    for (const char *last : {"x.toml", "y.toml"}) {
        const fs::path file = stored.sandbox.directory() / (std::string(249, 'x') + last);
        std::ofstream(file) << shipped("CEDAR");
        stored.sandbox.set("YAT_MACHINE", file.string());
        Store store = configuredStore();
        EXPECT_TRUE(names.insert(store.file).second) << store.file;
        perform(store, stopCpu2);
        store.database.reset();
        fs::remove(store.file); // which leaves a log that has to be set aside
        std::ofstream(store.file + "-wal") << "all that is left";
        EXPECT_TRUE(openStore(store));
    }
}

TEST(StateFile, OfTooLongANameIsNotMade)
{
    Stored stored;
    stored.store.file = fs::path(stored.store.file).replace_filename(std::string(256, 'x'));
    EXPECT_EQ(problemOf([&] { look(stored.store); }),
              stored.store.file + " can't be made: File name too long");
}

TEST(StateFile, IsReadByItsOwnerAndGroupOnly)
{
    for (const mode_t mask : {0u, 077u}) {
        const mode_t before = umask(mask);
        Stored stored;
        perform(stored.store, stopCpu2);
        umask(before);
        for (const char *ending : {"", "-wal", "-shm"})
            EXPECT_EQ(fs::status(stored.store.file + ending).permissions(), fs::perms(0640))
                << ending;
        EXPECT_EQ(fs::status(fs::path(stored.store.file).parent_path()).permissions(),
                  fs::perms(0750));
    }
}

TEST(StateFile, OfRootLiesWhereNobodyElseHasASay)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "only root has others to be afraid of";
    Stored stored;
    look(stored.store);
    stored.store.database.reset();
    const fs::path machines = fs::path(stored.store.file).parent_path();
    const auto expectRefusal = [&](const std::string &why) {
        EXPECT_EQ(problemOf([&] { look(stored.store); }),
                  machines.string() + " can't be written: " + machines.string() + why);
    };
    ASSERT_EQ(chown(machines.c_str(), 65534, 0), 0);
    expectRefusal(" belongs to another user");
    ASSERT_EQ(chown(machines.c_str(), 0, 0), 0);
    fs::rename(machines, stored.sandbox.directory() / "there");
    fs::create_directory_symlink("there", machines);
    expectRefusal(" is a symbolic link");
    EXPECT_EQ(problemOf([&] { tamper(stored.store, ""); }),
              stored.store.file + " can't be used: unable to open database file");
    for (const auto &file : fs::recursive_directory_iterator(stored.sandbox.directory()))
        ASSERT_EQ(lchown(file.path().c_str(), 65534, 0), 0);
    ASSERT_EQ(chown(stored.sandbox.directory().c_str(), 65534, 0), 0);
    const AsSomebodyElse now; // whose own may lie behind a link
    EXPECT_EQ(look(stored.store).name, "CEDAR demonstration server");
}

TEST(StateFile, ThatCantBeMadeSaysSo)
{
    Stored stored;
    fs::permissions(stored.sandbox.directory(), fs::perms(0555));
    const WithoutPrivileges since;
    EXPECT_EQ(problemOf([&] { look(stored.store); }),
              fs::path(stored.store.file).parent_path().string()
                  + " can't be written: Permission denied");
    fs::permissions(stored.sandbox.directory(), fs::perms(0755));
    EXPECT_FALSE(fs::exists(fs::path(stored.store.file).parent_path()));
}

// ---- Read by who may do no more

namespace {

// Lets everybody read what is in the state directory, and nobody write it.
void makeReadOnly(const Stored &stored, fs::perms more = fs::perms::none)
{
    const fs::path folder = fs::path(stored.store.file).parent_path();
    for (const auto &file : fs::directory_iterator(folder))
        fs::permissions(file, fs::perms(0444) | more);
    fs::permissions(folder, fs::perms(0555) | more);
    fs::permissions(stored.sandbox.directory(), fs::perms(0555) | more);
}

void asAReader(const Stored &stored, const std::function<void()> &work)
{
    makeReadOnly(stored);
    {
        const AsSomebodyElse now;
        work();
    }
    makeReadOnly(stored, fs::perms::owner_all);
}

std::vector<std::string> namesBeside(const Stored &stored)
{
    std::vector<std::string> names;
    for (const auto &file : fs::directory_iterator(fs::path(stored.store.file).parent_path()))
        names.push_back(file.path().filename());
    std::ranges::sort(names);
    return names;
}

std::vector<std::string> operationsRead()
{
    std::vector<std::string> operations;
    readJournal(yat::configuredMachine(), 0,
                [&](const JournalRow &row) { operations.push_back(row.operation); });
    return operations;
}

using Operations = std::vector<std::string>;

} // namespace

TEST(StateFile, IsReadByWhoMayNotWriteIt)
{
    Stored stored;
    perform(stored.store, stopCpu2);
    stored.store.database.reset();
    asAReader(stored, [&] {
        EXPECT_EQ(operationsRead(), (Operations{"init", "InitBringDown"}));
        EXPECT_EQ(namesBeside(stored), (Operations{"CEDAR.db"}));
    });
}

TEST(StateFile, IsReadWithItsLogWhileAProgramWorksOnIt)
{
    Stored stored;
    perform(stored.store, stopCpu2);
    const auto before = namesBeside(stored);
    ASSERT_EQ(before.size(), 3u);
    asAReader(stored, [&] {
        EXPECT_EQ(operationsRead(), (Operations{"init", "InitBringDown"}));
        EXPECT_EQ(namesBeside(stored), before);
    });
}

TEST(StateFile, WithALogOfNobodyIsNotReadAndSaysWhy)
{
    Stored stored;
    look(stored.store);
    stored.store.database.reset();
    writeFile(stored.store.file + "-wal", "");
    asAReader(stored, [&] {
        EXPECT_EQ(problemOf([] { operationsRead(); }),
                  stored.store.file
                      + " can't be read: a program was killed while it worked on it; a user "
                        "who may write it has to run 'yatsim list' first");
    });
}

TEST(StateFile, OfAnotherProgramIsNotRead)
{
    Stored stored;
    look(stored.store);
    stored.store.database.reset();
    tamper(stored.store, "PRAGMA application_id = 7");
    fs::remove(stored.store.file + "-wal");
    asAReader(stored, [&] {
        const std::string problem = problemOf([] { operationsRead(); });
        EXPECT_TRUE(problem.starts_with(stored.store.file + " is damaged or belongs to"))
            << problem;
    });
}

// What else a file can be that is no own one, unit tests have.
TEST(StateFile, IsReadAndWrittenAsRegularFilesOnly)
{
    for (const char *ending : {"", "-wal", "-shm", "-journal"}) {
        Stored stored;
        look(stored.store);
        stored.store.database.reset();
        const std::string file = stored.store.file + ending;
        fs::remove(file);
        ASSERT_EQ(mkfifo(file.c_str(), 0600), 0);
        EXPECT_EQ(problemOf([&] { look(stored.store); }),
                  file + " can't be written: it is not a regular file");
        asAReader(stored, [&] {
            EXPECT_EQ(problemOf([] { operationsRead(); }),
                      file + " can't be read: it is not a regular file");
        });
    }
}

// A view may have rows without an end.
TEST(StateFile, IsReadFromTablesOnly)
{
    Stored stored;
    look(stored.store);
    stored.store.database.reset();
    tamper(stored.store, "ALTER TABLE journal RENAME TO rows; "
                         "CREATE VIEW journal AS SELECT * FROM rows");
    asAReader(stored, [&] {
        EXPECT_EQ(problemOf([] { operationsRead(); }),
                  stored.store.file + " can't be used: access to view \"journal\" prohibited");
    });
}

TEST(StateFile, IsReadAnewWhenItIsWrittenMeanwhile)
{
    Stored stored;
    look(stored.store);
    stored.store.database.reset();
    std::vector<int64_t> counts;
    readStateFile(stored.store.file, [&](yat::Database &database) {
        counts.push_back(database.number("SELECT count(*) FROM journal"));
        if (counts.size() > 1)
            return;
        perform(stored.store, stopCpu2);
        stored.store.database.reset(); // which writes the log into the file
    });
    EXPECT_EQ(counts, (std::vector<int64_t>{1, 2}));
}

TEST(StateFile, ThatIsGoneMeanwhileIsNotReadAndSaysSo)
{
    Stored stored;
    look(stored.store);
    stored.store.database.reset();
    int reads = 0;
    const auto read = [&] {
        readStateFile(stored.store.file, [&](yat::Database &) {
            ++reads;
            fs::remove(stored.store.file);
        });
    };
    for (int i = 0; i < 2; ++i) // there at first, and not there
        EXPECT_EQ(problemOf(read),
                  stored.store.file + " can't be used: unable to open database file");
    EXPECT_EQ(reads, 1);
}
