// SPDX-License-Identifier: GPL-2.0-or-later
// The machine by itself: random histories, and what must hold in each of them.
#include "contradiction.h"
#include "sim/course.h"
#include "sim/description.h"
#include "sim/orders.h"
#include "sim/words.h"
#include "support.h"
#include "yat/ft.h"
#include "yatsim/writing.h"

#include <gtest/gtest.h>
#include <rapidcheck.h>

namespace sim {

// How rapidcheck shows a history that broke a rule.
void showValue(Verb verb, std::ostream &out)
{
    out << nameOf(verb);
}

void showValue(DeviceId device, std::ostream &out)
{
    out << nameOf(device);
}

} // namespace sim

namespace {

using namespace sim;

Machine machineOf(const std::string &toml)
{
    return movedTo(parseDescription(toml, "F"), 1000 * hour);
}

const Verb allVerbs[] = {Verb::clearMtbf,    Verb::bringUp,    Verb::bringDown, Verb::setMtbfType,
                         Verb::burnFirmware, Verb::putSetting, Verb::fail,      Verb::repair,
                         Verb::pull,         Verb::insert,     Verb::set};

rc::Gen<DeviceId> anyDevice(const Machine &machine)
{
    std::vector<DeviceId> ids = {{YAT_CLASS_CPU_MODULE, 99}};
    for (const Device &device : machine.devices)
        ids.push_back(device.id);
    return rc::gen::elementOf(ids);
}

std::vector<std::string> argumentsFor(Verb verb)
{
    switch (verb) {
    case Verb::setMtbfType: return {"0", "1", "2", "3"};
    case Verb::burnFirmware: return {"FWCOPY", "FWBURN", "FW"};
    case Verb::putSetting: return {"0", "1", "2"};
    case Verb::fail: return {"", "", "permanent", "x"};
    case Verb::set:
        return {"mtbf_type=1",         "bios_version=9", "automatic_module_start=on",
                "mtbf_threshold=0.01", "data_file=",     "time=+7"};
    default: return {""};
    }
}

Order anyOperation(const Machine &machine)
{
    Order operation;
    operation.verb =
        *rc::gen::elementOf(std::vector<Verb>(std::begin(allVerbs), std::end(allVerbs)));
    operation.argument = *rc::gen::elementOf(argumentsFor(operation.verb));
    operation.device = *anyDevice(machine);
    operation.code = supportCode(operation.verb, operation.device.classCode) + 1;
    if (operation.verb == Verb::putSetting) {
        operation.device = *rc::gen::weightedElement<DeviceId>({{9, wholeMachine}, {1, {}}});
        operation.code = *rc::gen::inRange(1, 5);
    } else if (operation.verb == Verb::set && *rc::gen::inRange(0, 3) == 0) {
        operation.device = wholeMachine;
    } else if (*rc::gen::inRange(0, 20) == 0) {
        operation.code = *rc::gen::inRange(0, 40);
    }
    return operation;
}

// The time until the next step: at once, within a transition, or past several.
Time anyPause()
{
    return *rc::gen::elementOf(std::vector<Time>{0, second, 5 * second, 15 * second, hour});
}

void runHistory(const std::string &toml, const std::function<void(Machine &, const Order &)> &step)
{
    Machine machine = machineOf(toml);
    const int steps = *rc::gen::inRange(1, 60);
    for (int i = 0; i < steps; ++i) {
        advance(machine, machine.now + anyPause());
        RC_ASSERT(contradiction(machine) == "");
        step(machine, anyOperation(machine));
        RC_ASSERT(contradiction(machine) == "");
    }
}

const std::string shippedMachines[] = {"ALDER", "BIRCH", "CEDAR", "PLAIN"};

std::string anyMachine()
{
    return shipped(*rc::gen::elementOf(
        std::vector<std::string>(std::begin(shippedMachines), std::end(shippedMachines))));
}

} // namespace

TEST(Machine, NeverTakesAPairDownByAnOperationOfOurs)
{
    EXPECT_TRUE(rc::check([] {
        runHistory(anyMachine(), [](Machine &machine, const Order &operation) {
            const Machine before = machine;
            apply(machine, operation);
            RC_ASSERT(!isCall(operation.verb) || !tookPairDown(before, machine));
        });
    }));
}

TEST(Machine, ChangesNothingWhenItRefuses)
{
    EXPECT_TRUE(rc::check([] {
        runHistory(anyMachine(), [](Machine &machine, const Order &operation) {
            const Machine before = machine;
            if (apply(machine, operation) != Refusal::none)
                RC_ASSERT(machine == before);
        });
    }));
}

TEST(Machine, KeepsItsIndexAsItsDevicesAre)
{
    EXPECT_TRUE(rc::check([] {
        runHistory(anyMachine(), [](Machine &machine, const Order &operation) {
            apply(machine, operation);
            Machine again = machine;
            makeIndex(again);
            again.index.changed = machine.index.changed;
            RC_ASSERT(again == machine);
        });
    }));
}

TEST(Machine, SaysWhichOfItsDevicesHaveChanged)
{
    EXPECT_TRUE(rc::check([] {
        runHistory(anyMachine(), [](Machine &machine, const Order &operation) {
            const Machine before = machine;
            const bool isDue = isAnythingDue(machine, machine.now + 5 * second);
            machine.index.changed.clear();
            advance(machine, machine.now + 5 * second);
            RC_ASSERT(isDue == !machine.index.changed.empty());
            apply(machine, operation);
            for (size_t i = 0; i < machine.devices.size(); ++i)
                RC_ASSERT(machine.devices[i] == before.devices[i]
                          || machine.index.changed.contains(static_cast<int>(i)));
        });
    }));
}

TEST(Machine, TakesWhatItSaysItTakes)
{
    EXPECT_TRUE(rc::check([] {
        runHistory(anyMachine(), [](Machine &machine, const Order &operation) {
            const bool hasArgument =
                operation.verb == Verb::setMtbfType || operation.verb == Verb::burnFirmware;
            const Refusal said = check(machine, operation.verb, operation.device, operation.code);
            const Refusal was = apply(machine, operation);
            if (operation.verb < Verb::putSetting && !hasArgument)
                RC_ASSERT(said == was);
            if (hasArgument && said != Refusal::none)
                RC_ASSERT(said == was);
        });
    }));
}

TEST(Machine, IsTheSameHoweverOftenItIsLookedAt)
{
    EXPECT_TRUE(rc::check([] {
        Machine seldom = machineOf(anyMachine()), often = seldom;
        const int steps = *rc::gen::inRange(1, 40);
        for (int i = 0; i < steps; ++i) {
            const Time until = seldom.now + anyPause();
            const Time stride = *rc::gen::inRange<Time>(second / 10, 9 * second);
            for (Time time = often.now; time < until && time < often.now + 300 * stride;
                 time += stride)
                advance(often, time);
            advance(often, until);
            advance(seldom, until);
            RC_ASSERT(often == seldom);
            const Order operation = anyOperation(seldom);
            RC_ASSERT(apply(often, operation) == apply(seldom, operation));
            RC_ASSERT(often == seldom);
        }
    }));
}

TEST(Machine, ComesToRest)
{
    EXPECT_TRUE(rc::check([] {
        Machine machine = machineOf(anyMachine());
        for (int i = 0; i < 30; ++i)
            apply(machine, anyOperation(machine));
        advance(machine, machine.now + hour);
        for (const Device &device : machine.devices)
            RC_ASSERT(!progress(machine, device));
    }));
}

TEST(Machine, CanBeDescribedAtAnyTime)
{
    EXPECT_TRUE(rc::check([] {
        runHistory(anyMachine(), [](Machine &machine, const Order &operation) {
            apply(machine, operation);
            const std::string toml = toToml(atRest(machine));
            const Machine again = parseDescription(toml, "F");
            RC_ASSERT(again == atRest(machine));
            const Machine copy = movedTo(again, machine.now);
            for (size_t i = 0; i < copy.devices.size(); ++i) {
                const Device &is = copy.devices[i];
                const Device &was = machine.devices[i];
                RC_ASSERT(is.failures == was.failures);
                RC_ASSERT(is.biosVersion == was.biosVersion);
                RC_ASSERT(is.mtbfType == was.mtbfType);
                RC_ASSERT(is.defective == was.defective);
                RC_ASSERT(is.failureCount == was.failureCount);
                RC_ASSERT(is.bios == was.bios);
                for (const bool japanese : {false, true})
                    RC_ASSERT(was.state == State::firmwareUpdate
                              || biosStatusText(copy, is, japanese)
                                     == biosStatusText(machine, was, japanese));
                const bool isUnderWay = isModule(was.id) && progress(machine, was);
                RC_ASSERT(is.state == (isUnderWay ? State::stopped : was.state));
            }
        });
    }));
}

TEST(Machine, KeepsCountingFailuresWhenItForgetsTheirTimes)
{
    Machine machine = machineOf(shipped("CEDAR"));
    const DeviceId ethernet = {YAT_CLASS_ETHERNET_ADAPTER, 1};
    apply(machine, {.verb = Verb::set, .argument = "mtbf_threshold=0"});
    for (int i = 0; i < 100; ++i) {
        advance(machine, machine.now + hour);
        ASSERT_EQ(apply(machine, {.verb = Verb::fail, .device = ethernet}), Refusal::none);
    }
    EXPECT_EQ(find(machine, ethernet)->failureCount, 100);
    EXPECT_EQ(find(machine, ethernet)->failures.size(), failuresKept);
    EXPECT_EQ(mtbf(*find(machine, ethernet)), hour);
    const Machine again = atRest(machine);
    EXPECT_EQ(find(movedTo(again, machine.now), ethernet)->failureCount, 100);
}

TEST(Machine, CountsNoFurtherThanADescriptionCanSay)
{
    Machine machine = machineOf(shipped("CEDAR"));
    machine.now = lastMoment - second;
    for (const Refusal refusal : {Refusal::none, Refusal::wrongArgument})
        EXPECT_EQ(apply(machine, {.verb = Verb::set, .argument = "time=+1"}), refusal);
    EXPECT_EQ(machine.now, lastMoment);
    const DeviceId ethernet = {YAT_CLASS_ETHERNET_ADAPTER, 1};
    find(machine, ethernet)->failureCount = mostFailures;
    EXPECT_EQ(apply(machine, {.verb = Verb::fail, .device = ethernet}), Refusal::none);
    EXPECT_EQ(find(machine, ethernet)->failureCount, mostFailures);
}

TEST(Machine, CanBeDescribedWhenItsFailuresAreForgottenElsewhere)
{
    Machine machine = machineOf(shipped("CEDAR"));
    const DeviceId ethernet = {YAT_CLASS_ETHERNET_ADAPTER, 1};
    apply(machine, {.verb = Verb::fail, .device = ethernet});
    advance(machine, machine.now + 2 * longestMtbf * hour);
    const Machine copy = movedTo(parseDescription(toToml(atRest(machine)), "F"), machine.now);
    EXPECT_EQ(find(copy, ethernet)->failures.at(0), machine.now - longestMtbf * hour);
}

TEST(Machine, KeepsNoFirmwareBeyondItsUpdate)
{
    Machine machine = machineOf(shipped("CEDAR"));
    Order order{.verb = Verb::bringDown, .device = {YAT_CLASS_CPU_MODULE, 2}};
    for (const auto &[verb, argument] :
         {std::pair{Verb::bringDown, ""}, {Verb::burnFirmware, YAT_BURN_COPY}}) {
        order.verb = verb;
        order.code = supportCode(verb, order.device.classCode) + 1;
        order.argument = argument;
        ASSERT_EQ(apply(machine, order), Refusal::none);
        EXPECT_EQ(contradiction(machine), "");
        advance(machine, machine.now + hour);
        EXPECT_EQ(contradiction(machine), "");
    }
}

TEST(Machine, FindsItsDevicesByNumberAndByBoard)
{
    for (const std::string &name : shippedMachines) {
        const Machine machine = machineOf(shipped(name));
        for (const Device &device : machine.devices) {
            EXPECT_EQ(find(machine, device.id), &device);
            const Device *module = isModule(device.id) ? &device : nullptr;
            EXPECT_EQ(moduleOfBoard(machine, device.board), module);
        }
        for (const int number : {-1, 0, 99, mostDevices}) {
            EXPECT_EQ(find(machine, {YAT_CLASS_CPU_MODULE, number}), nullptr);
            EXPECT_EQ(moduleOfBoard(machine, number), nullptr);
        }
        EXPECT_EQ(find(machine, {YAT_CLASS_NONE, 1}), nullptr);
    }
}
