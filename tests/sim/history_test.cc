// SPDX-License-Identifier: GPL-2.0-or-later
// Random histories of the machine: operations, what happens to it from outside, calls that are
// made to fail, processes that are killed and disks that are full.
#include "dying.h"
#include "player.h"
#include "replay.h"
#include "stored.h"

#include <csignal>
#include <gtest/gtest.h>
#include <rapidcheck.h>
#include <sys/wait.h>

namespace {

using namespace sim;

int below(int end)
{
    return *rc::gen::inRange(0, end);
}

enum class Fault { none, killed, diskFull };

struct History {
    History()
    {
        const std::string machine = *rc::gen::element<std::string>("ALDER", "BIRCH", "CEDAR");
        description = readDescription(sandbox.describe(shipped(machine)));
    }

    std::vector<Act> someActs() const
    {
        std::vector<Act> acts;
        for (int i = below(25); i > 0; --i)
            acts.push_back(below(3) == 0 ? anyBlow(description, below)
                                         : anyCall(description, below));
        return acts;
    }

    Sandbox sandbox;
    Machine description;
    Replay replay;
};

// A process plays; then the machine and its journal have to fit it and each other.
void goOn(History &history)
{
    const auto acts = history.someActs();
    const Fault fault = *rc::gen::element(Fault::none, Fault::killed, Fault::diskFull);
    const int moment = below(400) + 1, writes = below(5) + 1;
    Player player(
        acts,
        [&] {
            if (fault == Fault::killed)
                dieAtCall(moment);
            else if (fault == Fault::diskFull)
                fillDiskAtWrite(moment / 4, writes);
        },
        true);
    player.begin();
    const int status = player.wait();
    const bool isKilled = WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
    RC_ASSERT(status == 0 || (fault == Fault::killed && isKilled));
    if (status == 0)
        RC_ASSERT(player.progress->answered == static_cast<int>(acts.size()));
    RC_ASSERT(!player.progress->tookPairDown);
    Store store = configuredStore();
    RC_ASSERT(follow(history.replay, store) == "");
    RC_ASSERT(player.compare(history.replay.rows, fault == Fault::diskFull) == "");
    RC_CLASSIFY(isKilled, "killed");
    RC_CLASSIFY(fault == Fault::diskFull && player.progress->answered > 0, "disk full");
}

} // namespace

// The pair invariant is looked at twice: by the process that plays, in the texts of the states,
// and in the model when the journal is carried out again.
TEST(History, KeepsPairsRunningAndItsJournalComplete)
{
    EXPECT_TRUE(rc::check([] {
        History history;
        for (int i = below(4) + 1; i > 0; --i)
            goOn(history);
        Store store = configuredStore();
        RC_ASSERT(integrityOf(store) == "ok");
    }));
}
