// SPDX-License-Identifier: GPL-2.0-or-later
// Two processes that work on the same machine at once.
#include "player.h"
#include "replay.h"
#include "stored.h"

#include <gtest/gtest.h>
#include <random>
#include <set>

namespace {

using namespace sim;

constexpr int actsOfEach = 5000;

class Together : public testing::Test {
protected:
    std::vector<Act> someActs(unsigned seed) const
    {
        std::mt19937 random(seed);
        const auto below = [&](int end) {
            return std::uniform_int_distribution<int>(0, end - 1)(random);
        };
        std::vector<Act> acts;
        while (acts.size() < actsOfEach)
            acts.push_back(below(5) == 0 ? anyBlow(description, below)
                                         : anyCall(description, below));
        return acts;
    }

    Sandbox sandbox{"CEDAR", "20000"}; // a start takes some operations
    Machine description = readDescription(sandbox.describe(shipped("CEDAR")));
};

int changesOfHand(const std::vector<JournalRow> &rows)
{
    int changes = 0;
    for (size_t i = 1; i < rows.size(); ++i)
        changes += rows[i].terminal != rows[i - 1].terminal ? 1 : 0;
    return changes;
}

} // namespace

TEST_F(Together, TenThousandOperationsAreAllDoneInTheOrderOfTheJournal)
{
    Player one(someActs(1)), other(someActs(2));
    ASSERT_NE(one.terminal, other.terminal);
    one.begin();
    other.begin();
    for (Player *player : {&one, &other}) {
        EXPECT_EQ(player->wait(), 0);
        EXPECT_EQ(player->progress->answered, actsOfEach);
    }
    Store store = configuredStore();
    Replay replay;
    EXPECT_EQ(follow(replay, store), "");
    EXPECT_EQ(store.database->number("SELECT count(*) FROM journal WHERE operation <> 'init'"),
              2 * actsOfEach);
    EXPECT_EQ(integrityOf(store), "ok");
    std::set<std::string> results;
    for (const JournalRow &row : replay.rows)
        results.insert(row.result);
    EXPECT_GT(results.size(), 4u); // not all the same
    for (const Player *player : {&one, &other})
        EXPECT_EQ(player->compare(replay.rows), "");
    EXPECT_GT(changesOfHand(replay.rows), 10); // or they were not at it at once
    printf("%d changes of hand\n", changesOfHand(replay.rows));
}
