// SPDX-License-Identifier: GPL-2.0-or-later
// The machine's clock.
#include "stored.h"
#include "yatsim/steering.h"

using namespace sim;

namespace {

// The clock that shows the same at this moment and runs at another pace from there.
Clock continued(const Clock &clock, Time real, double scale)
{
    return {.simulated = simulatedTime(clock, real), .real = real, .scale = scale};
}

} // namespace

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
        {"", 1}, {"0", 0}, {"2.5", 2.5}, {"60", 60}, {"1e3", 1000}, {"1000000", fastest},
    };
    for (const auto &[text, scale] : cases) {
        sandbox.set("YAT_TIME_SCALE", text);
        EXPECT_EQ(wantedScale(), scale) << text;
    }
    for (const std::string text : {"-1", "fast", "5x", "nan", "inf", "1e99", "1000000.1", " 1"}) {
        sandbox.set("YAT_TIME_SCALE", text);
        const std::string mistake =
            "wrong value '" + text + "' for YAT_TIME_SCALE, expected a number from 0 to 1000000";
        EXPECT_EQ(problemOf([] { wantedScale(); }), mistake);
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
