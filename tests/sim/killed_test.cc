// SPDX-License-Identifier: GPL-2.0-or-later
// Processes that are killed at any instant, and what the next one finds.
#include "dying.h"
#include "player.h"
#include "replay.h"
#include "stored.h"

#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <gtest/gtest.h>
#include <random>
#include <sqlite3.h>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

using namespace sim;

class Killed : public testing::Test {
protected:
    Killed()
    {
        description = readDescription(sandbox.describe(shipped("CEDAR")));
        std::ofstream(sandbox.directory() / "other.toml")
            << shipped("CEDAR", "start = 20", "start = 9");
        const auto begin = std::chrono::steady_clock::now();
        steer("reset");
        longestRun = static_cast<int>((std::chrono::steady_clock::now() - begin)
                                      / std::chrono::microseconds(1));
    }

    int below(int end)
    {
        return std::uniform_int_distribution<int>(0, end - 1)(random);
    }

    // What the process that was killed left behind: the next start.
    void expectWhole(bool thorough)
    {
        Store store = configuredStore();
        ASSERT_EQ(follow(replay, store), "");
        // Mostly the log of the file is left to the next one, as it is by those that are killed.
        if (!thorough)
            sqlite3_db_config(store.database->handle.get(), SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1,
                              nullptr);
        if (thorough) {
            ASSERT_EQ(integrityOf(store), "ok");
        }
    }

    void forgetMachine()
    {
        fs::remove_all(sandbox.directory() / "machines");
        replay = {};
    }

    void countKill(int status)
    {
        const bool isKilled = WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
        EXPECT_TRUE(isKilled || WIFEXITED(status)) << status;
        kills += isKilled ? 1 : 0;
    }

    void killPlayer();
    void killYatsim();

    Sandbox sandbox;
    Machine description;
    std::mt19937 random;
    Replay replay;
    int longestRun = 0; // of yatsim, in microseconds
    int kills = 0, inAnAct = 0, writtenUnanswered = 0, acts = 0, finished = 0;
};

void waitFor(int microseconds)
{
    const timespec length = {.tv_sec = microseconds / 1'000'000,
                             .tv_nsec = microseconds % 1'000'000 * 1000L};
    nanosleep(&length, nullptr);
}

constexpr int longestPlay = 12'000; // microseconds
constexpr int mostCalls = 700;      // of the system

void Killed::killPlayer()
{
    std::vector<Act> wanted;
    for (int i = 0; i < 1500; ++i)
        wanted.push_back(anyCall(description, [&](int end) { return below(end); }));
    const bool byTime = below(2) == 0;
    const int moment = 1 + below(byTime ? longestPlay : mostCalls);
    Player player(wanted, [&] {
        if (!byTime)
            dieAtCall(moment);
    });
    player.begin();
    if (byTime) {
        waitFor(moment);
        player.kill();
    }
    const int status = player.wait();
    countKill(status);
    ASSERT_NO_FATAL_FAILURE(expectWhole(kills % 25 == 0));
    EXPECT_EQ(player.compare(replay.rows), "");
    const int asked = player.progress->asked, answered = player.progress->answered;
    int written = 0;
    for (const JournalRow &row : replay.rows)
        written += row.terminal == player.terminal && row.operation != "init" ? 1 : 0;
    acts += answered;
    inAnAct += asked - answered;
    writtenUnanswered += written - answered;
}

void Killed::killYatsim()
{
    const std::string other = (sandbox.directory() / "other.toml").string();
    const std::vector<std::string> commands[] = {
        {"fail", "cpu1"},   {"fail", "pci2"},          {"repair", "cpu1"},
        {"pull", "cpu2"},   {"insert", "cpu2"},        {"set", "time", "+40"},
        {"insert", "pci1"}, {"set", "data_file", "9"}, {"inject", "ClearMTBF", "0"},
        {"import", other},  {"repair", "pci2"},        {"reset"},
    };
    std::vector<std::string> command = commands[below(std::size(commands))];
    const std::string operation = command[0];
    command.insert(command.begin(), YATSIM);
    // On a busy machine a run takes longer: until one has ended, more and more time is given.
    const int longest = finished > 0 ? longestRun : longestRun * (1 + kills / 50);
    const int moment = below(longest + longest / 2);
    const pid_t child =
        start(command, {.prepare = [] { dup2(open("/dev/null", O_RDWR), STDERR_FILENO); }});
    waitFor(moment);
    kill(child, SIGKILL);
    int status = 0;
    waitpid(child, &status, 0);
    countKill(status);
    ASSERT_NO_FATAL_FAILURE(expectWhole(false));
    std::vector<JournalRow> rows = replay.rows;
    std::erase_if(rows, [](const JournalRow &row) { return row.operation == "init"; });
    ASSERT_LE(rows.size(), 1u);
    if (WIFEXITED(status)) {
        ++finished;
        ASSERT_LE(WEXITSTATUS(status), 1);
        ASSERT_EQ(rows.size(), 1u);
        EXPECT_EQ(rows[0].result == "done", WEXITSTATUS(status) == 0);
        EXPECT_EQ(rows[0].operation, operation);
    }
}

} // namespace

TEST_F(Killed, FiveHundredTimesNothingIsHalfDoneOrLost)
{
    constexpr int wanted = 500;
    for (unsigned seed = 1; kills < wanted && seed < 2 * wanted; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        random.seed(seed);
        if (seed % 20 == 0) {
            ASSERT_NO_FATAL_FAILURE(expectWhole(true));
            forgetMachine(); // and it is killed at making it anew
        }
        sandbox.set("YAT_TIME_SCALE", seed % 3 == 0 ? "0" : "20000");
        if (seed % 5 == 0)
            killYatsim();
        else
            killPlayer();
        ASSERT_FALSE(HasFailure());
    }
    ASSERT_NO_FATAL_FAILURE(expectWhole(true));
    EXPECT_EQ(kills, wanted);
    EXPECT_GT(inAnAct, 0); // or nothing was proved
    EXPECT_GT(acts, wanted);
    EXPECT_GT(writtenUnanswered, 0);
    EXPECT_GT(finished, 0);
    printf("%d kills, %d acts, %d unfinished, %d of them written down, %d runs of yatsim ended\n",
           kills, acts, inAnAct, writtenUnanswered, finished);
}
