// SPDX-License-Identifier: GPL-2.0-or-later
// How the work on a machine grows with its devices: counted in steps, which the compiler puts into
// the machine's code, so that no clock has to decide.
#include "bigmachine.h"
#include "common/records.h"
#include "sim/calls.h"
#include "sim/course.h"
#include "sim/orders.h"

#include <functional>
#include <gtest/gtest.h>

namespace {

size_t steps = 0;

} // namespace

// Called at each step of the code that was compiled for it.
extern "C" void __sanitizer_cov_trace_pc();
extern "C" void __sanitizer_cov_trace_pc()
{
    ++steps;
}

namespace {

using namespace sim;

constexpr int few = 200, many = 20'000, times = many / few;

size_t stepsOf(const std::function<void()> &work)
{
    const size_t before = steps;
    work();
    return steps - before;
}

void expectAsMany(size_t ofFew, size_t ofMany)
{
    EXPECT_GT(ofFew, 0u);
    EXPECT_EQ(ofMany, ofFew);
}

void expectToGrowLike(size_t ofFew, size_t ofMany)
{
    EXPECT_GT(ofFew, static_cast<size_t>(few));
    EXPECT_LT(ofMany, ofFew * times * 11 / 10);
}

Machine machineOf(int devices)
{
    return movedTo(bigMachine(devices), 1000 * hour);
}

size_t stepsOfFinding(int devices)
{
    const Machine machine = machineOf(devices);
    const DeviceId last = machine.devices.back().id;
    const int board = static_cast<int>(machine.devices.size()) / 10;
    return stepsOf([&] {
        EXPECT_EQ(find(machine, last), &machine.devices.back());
        EXPECT_EQ(find(machine, {YAT_CLASS_PCI_MODULE, mostDevices}), nullptr);
        EXPECT_EQ(moduleOfBoard(machine, board)->board, board);
    });
}

size_t stepsOfAnHour(int devices)
{
    Machine machine = machineOf(devices);
    return stepsOf([&] { advance(machine, machine.now + hour); });
}

// A module of a pair is stopped, started, and synchronised.
size_t stepsOfAStart(int devices)
{
    Machine machine = machineOf(devices);
    const DeviceId module = {YAT_CLASS_PCI_MODULE, 1};
    return stepsOf([&] {
        for (const Verb verb : {Verb::bringDown, Verb::bringUp}) {
            const int code = supportCode(verb, module.classCode) + 1;
            EXPECT_EQ(apply(machine, {.verb = verb, .device = module, .code = code}),
                      Refusal::none);
            advance(machine, machine.now + hour);
        }
    });
}

size_t stepsOfMaking(int devices)
{
    const Machine description = bigMachine(devices);
    return stepsOf([&] { movedTo(description, 1000 * hour); });
}

size_t stepsOfDescribing(int devices)
{
    const Machine machine = machineOf(devices);
    return stepsOf([&] { atRest(machine); });
}

size_t stepsOfRecords(int devices)
{
    const Machine machine = machineOf(devices);
    return stepsOf([&] {
        yat_device *root = nullptr;
        createTree(machine, &root);
        EXPECT_EQ(yat::freeTree(&root), 1);
    });
}

} // namespace

TEST(BigMachine, HasItsDevicesFoundInAsManySteps)
{
    expectAsMany(stepsOfFinding(few), stepsOfFinding(many));
}

TEST(BigMachine, PassesAnHourInAsManyStepsWhenNothingIsUnderWay)
{
    expectAsMany(stepsOfAnHour(few), stepsOfAnHour(many));
}

TEST(BigMachine, StartsAModuleInAsManySteps)
{
    expectAsMany(stepsOfAStart(few), stepsOfAStart(many));
}

TEST(BigMachine, IsMadeInStepsThatGrowWithItsDevicesOnly)
{
    expectToGrowLike(stepsOfMaking(few), stepsOfMaking(many));
}

TEST(BigMachine, IsDescribedInStepsThatGrowWithItsDevicesOnly)
{
    expectToGrowLike(stepsOfDescribing(few), stepsOfDescribing(many));
}

TEST(BigMachine, HasItsRecordsMadeInStepsThatGrowWithItsDevicesOnly)
{
    expectToGrowLike(stepsOfRecords(few), stepsOfRecords(many));
}
