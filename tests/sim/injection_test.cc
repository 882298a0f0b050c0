// SPDX-License-Identifier: GPL-2.0-or-later
// Injections in the store: how often, when, and for whom they answer.
#include "sim/injection.h"
#include "stored.h"
#include "yatsim/steering.h"

#include <csignal>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace sim;

TEST(Injection, IsTakenOutAsOftenAsItSays)
{
    Stored stored;
    inject(stored.store, {.call = "InitBringDown", .result = 5, .times = 2});
    inject(stored.store, {.call = "InitBringUp", .times = 0});
    inject(stored.store, {.call = "InitBringDown", .result = 6});
    std::vector<int> answers;
    {
        Interface interface;
        for (int i = 0; i < 4; ++i)
            answers.push_back(InitBringDown(interface["CPU module 2"], 8));
    }
    EXPECT_EQ(answers, (std::vector<int>{5, 5, 6, 1}));
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
    const pid_t child = forkUntilDeadline();
    if (child == 0) {
        (void)stored.store.database.release(); // the parent's
        const Interface interface;
        InitBringDown(interface["CPU module 2"], 8);
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
    const auto limit = std::chrono::steady_clock::now() + deadline;
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
    EXPECT_EQ(perform(stored.store, {.verb = Verb::fail, .device = cpu2}), Refusal::none);
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

TEST(Injection, ThatIsMadeAnewWhileACallHangsIsWhatTheCallAnswers)
{
    Stored stored;
    inject(stored.store, {.call = "InitBringDown", .result = 0, .delay = 86'400'000});
    const pid_t child = hangingStop(stored);
    ASSERT_TRUE(isSleepingSoon(child));
    const auto before = std::chrono::steady_clock::now();
    write(stored.store, [&] { // or the child would go on without any in between
        clearInjections(stored.store, "InitBringDown");
        inject(stored.store, {.call = "InitBringDown", .result = 7, .delay = 300});
    });
    waitpid(child, nullptr, 0);
    EXPECT_GE(std::chrono::steady_clock::now() - before, std::chrono::milliseconds(300));
    EXPECT_EQ(journalOf(stored.store).back().result, "injected: 7");
}

// Whoever looked for the machine would make it anew.
TEST(Injection, IsNotLookedForToConvertANumber)
{
    Stored stored;
    const Interface interface;
    perform(stored.store, stopCpu2); // another program writes
    const auto machines = stored.sandbox.stateFile().parent_path();
    std::filesystem::rename(machines, machines.string() + ".aside");
    char text[] = "3";
    int value = 0;
    EXPECT_EQ(yat_ft_func.Linux_ConvertDataToInt(text, &value), 0);
    EXPECT_EQ(value, 3);
    EXPECT_FALSE(std::filesystem::exists(machines));
    std::filesystem::rename(machines.string() + ".aside", machines);
    EXPECT_EQ(cpuState(2).substr(0, 8), "Stopping");
}
