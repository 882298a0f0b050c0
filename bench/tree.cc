// SPDX-License-Identifier: GPL-2.0-or-later
// The checkbox tree beside the one that newt has: the same calls in the same order.
#include "checkboxtrees.h"
#include "report.h"

#include <cstdio>
#include <cstdlib>
#include <map>

namespace {

void add(benchmark::State &state, const Kind &kind, int (*place)(int))
{
    for (auto _ : state) {
        newtComponent tree = fill(kind, state.range(0), place);
        state.PauseTiming();
        newtComponentDestroy(tree);
        state.ResumeTiming();
    }
    state.SetComplexityN(state.range(0));
}

// A tree that is filled once for all repetitions.
newtComponent filled(const Kind &kind, int64_t count)
{
    static std::map<std::pair<const Kind *, int64_t>, newtComponent> trees;
    newtComponent &tree = trees[{&kind, count}];
    if (!tree) {
        tree = fill(kind, count, atEnd);
        newtOpenWindow(2, 2, 60, 16, "window");
        tree->ops->mapped(tree, 1);
    }
    return tree;
}

void findLast(benchmark::State &state, const Kind &kind)
{
    newtComponent tree = filled(kind, state.range(0));
    for (auto _ : state) {
        int *path = kind.find(tree, state.range(0));
        if (!path || path[0] != state.range(0) - 1) {
            state.SkipWithError("not found where it is");
            break;
        }
        free(path);
    }
    state.SetComplexityN(state.range(0));
}

void draw(benchmark::State &state, const Kind &kind)
{
    newtComponent tree = filled(kind, state.range(0));
    for (auto _ : state)
        tree->ops->draw(tree);
    state.SetComplexityN(state.range(0));
}

void drawToTerminal(benchmark::State &state, const Kind &kind)
{
    newtComponent tree = filled(kind, state.range(0));
    for (auto _ : state) {
        tree->ops->draw(tree);
        newtRefresh();
    }
    state.SetComplexityN(state.range(0));
}

// Down to the last row and up again.
void keys(benchmark::State &state, const Kind &kind)
{
    newtComponent tree = filled(kind, state.range(0));
    tree->ops->draw(tree);
    for (auto _ : state)
        for (const int key : {NEWT_KEY_DOWN, NEWT_KEY_UP})
            for (int64_t i = 1; i < state.range(0); ++i)
                if (!press(tree, key))
                    return state.SkipWithError("the tree does not take the key");
    state.SetComplexityN(state.range(0));
}

// All items below one branch; what is made here stays allocated.
void collapseAndExpand(benchmark::State &state)
{
    newtComponent tree = ours.make();
    ours.add(tree, itemText, 1, 0);
    for (int64_t i = 0; i < state.range(0); ++i)
        yat_newtCheckboxTreeAddItem(tree, itemText, i + 2, 0, nullptr, nullptr, 0, NEWT_ARG_APPEND,
                                    NEWT_ARG_LAST);
    tree->ops->mapped(tree, 1);
    tree->ops->draw(tree);
    for (auto _ : state) {
        press(tree, ' ');
        press(tree, ' ');
    }
    state.SetComplexityN(state.range(0));
}

void upTo100000(benchmark::internal::Benchmark *benchmark)
{
    repeatedForSomeTime(benchmark->RangeMultiplier(10)->Range(1000, 100000)->Complexity());
}

// A tree that the processor's cache does not hold.
void upTo1000000(benchmark::internal::Benchmark *benchmark)
{
    repeatedForSomeTime(benchmark->RangeMultiplier(10)->Range(1000, 1000000)->Complexity());
}

// newt's tree, where it takes too long for more.
void upTo20000(benchmark::internal::Benchmark *benchmark)
{
    repeatedForSomeTime(benchmark->Arg(1000)->Arg(5000)->Arg(10000)->Arg(20000)->Complexity());
}

BENCHMARK_CAPTURE(add, end, ours, atEnd)->Apply(upTo100000);
BENCHMARK_CAPTURE(add, end_newt, newts, atEnd)->Apply(upTo20000);
BENCHMARK_CAPTURE(add, front, ours, atFront)->Apply(upTo100000);
BENCHMARK_CAPTURE(add, front_newt, newts, atFront)->Apply(upTo100000);
BENCHMARK_CAPTURE(add, middle, ours, inMiddle)->Apply(upTo100000);
BENCHMARK_CAPTURE(add, middle_newt, newts, inMiddle)->Apply(upTo20000);
BENCHMARK_CAPTURE(add, random, ours, anywhere)->Apply(upTo1000000);
BENCHMARK_CAPTURE(add, random_newt, newts, anywhere)->Apply(upTo20000);
BENCHMARK_CAPTURE(findLast, ours, ours)->Apply(upTo100000);
BENCHMARK_CAPTURE(findLast, newt, newts)->Apply(upTo20000);
BENCHMARK_CAPTURE(draw, ours, ours)->Apply(upTo100000);
BENCHMARK_CAPTURE(draw, newt, newts)->Apply(upTo20000);
BENCHMARK_CAPTURE(drawToTerminal, ours, ours)->Apply(upTo100000);
BENCHMARK_CAPTURE(drawToTerminal, newt, newts)->Apply(upTo20000);
BENCHMARK_CAPTURE(keys, ours, ours)->Apply(upTo100000);
BENCHMARK_CAPTURE(keys, newt, newts)->Apply(upTo20000);
BENCHMARK(collapseAndExpand)->Apply(upTo100000);

} // namespace

int main(int argc, char **argv)
{
    const int output = enterTerminal();
    if (output < 0) {
        fprintf(stderr, "there is no terminal for the tree\n");
        return 1;
    }
    const int status = runBenchmarks(argc, argv, output);
    newtFinished();
    return status;
}
