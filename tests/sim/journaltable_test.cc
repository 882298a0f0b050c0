// SPDX-License-Identifier: GPL-2.0-or-later
// The journal in the store: its rows stay as they are, in the order of time, and name who asked.
#include "common/caller.h"
#include "stored.h"
#include "support/process.h"
#include "yatsim/steering.h"

#include <algorithm>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <sys/wait.h>
#include <unistd.h>

using namespace sim;

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
