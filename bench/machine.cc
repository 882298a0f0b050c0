// SPDX-License-Identifier: GPL-2.0-or-later
// The simulated machine as a value, with more and more devices.
#include "bigmachine.h"
#include "common/records.h"
#include "report.h"
#include "sim/calls.h"
#include "sim/course.h"
#include "sim/orders.h"

#include <unistd.h>

namespace {

using namespace sim;

constexpr Time beginning = 1000 * hour;

Machine machineOf(const benchmark::State &state)
{
    return movedTo(bigMachine(static_cast<int>(state.range(0))), beginning);
}

void make(benchmark::State &state)
{
    const Machine description = bigMachine(static_cast<int>(state.range(0)));
    for (auto _ : state)
        benchmark::DoNotOptimize(movedTo(description, beginning));
    state.SetComplexityN(state.range(0));
}

void describeAgain(benchmark::State &state)
{
    const Machine machine = machineOf(state);
    for (auto _ : state)
        benchmark::DoNotOptimize(atRest(machine));
    state.SetComplexityN(state.range(0));
}

void copy(benchmark::State &state)
{
    const Machine machine = machineOf(state);
    for (auto _ : state)
        benchmark::DoNotOptimize(Machine(machine));
    state.SetComplexityN(state.range(0));
}

void recordsOf(benchmark::State &state)
{
    const Machine machine = machineOf(state);
    for (auto _ : state) {
        yat_device *root = nullptr;
        createTree(machine, &root);
        if (yat::freeTree(&root) != 1)
            return state.SkipWithError("there are no records");
    }
    state.SetComplexityN(state.range(0));
}

void findAny(benchmark::State &state)
{
    const Machine machine = machineOf(state);
    uint32_t random = 1;
    const uint32_t modules = static_cast<uint32_t>(state.range(0) / 10);
    for (auto _ : state) {
        random = random * 1664525 + 1013904223;
        const int number = static_cast<int>((random >> 8) % modules) + 1;
        if (!find(machine, {YAT_CLASS_PCI_MODULE, number}))
            return state.SkipWithError("not found");
    }
    state.SetComplexityN(state.range(0));
}

void advanceIdle(benchmark::State &state)
{
    Machine machine = machineOf(state);
    for (auto _ : state)
        advance(machine, machine.now + 1);
    state.SetComplexityN(state.range(0));
}

// A module of a pair is stopped, started and synchronised.
void stopAndStart(benchmark::State &state)
{
    Machine machine = machineOf(state);
    const DeviceId module = {YAT_CLASS_PCI_MODULE, static_cast<int>(state.range(0) / 20)};
    for (auto _ : state) {
        for (const Verb verb : {Verb::bringDown, Verb::bringUp}) {
            const int code = supportCode(verb, module.classCode) + 1;
            if (apply(machine, {.verb = verb, .device = module, .code = code}) != Refusal::none)
                return state.SkipWithError("refused");
            advance(machine, machine.now + hour);
        }
        machine.index.changed.clear();
    }
    state.SetComplexityN(state.range(0));
}

void upTo100000(benchmark::internal::Benchmark *benchmark)
{
    repeatedForSomeTime(benchmark->RangeMultiplier(10)->Range(1000, 100000)->Complexity());
}

BENCHMARK(make)->Apply(upTo100000);
BENCHMARK(describeAgain)->Apply(upTo100000);
BENCHMARK(copy)->Apply(upTo100000);
BENCHMARK(recordsOf)->Apply(upTo100000);
BENCHMARK(findAny)->Apply(upTo100000);
BENCHMARK(advanceIdle)->Apply(upTo100000);
BENCHMARK(stopAndStart)->Apply(upTo100000);

} // namespace

int main(int argc, char **argv)
{
    return runBenchmarks(argc, argv, dup(STDOUT_FILENO));
}
