// The checkbox tree beside the one that newt has: the same calls in the same order.
//
// They run in a pseudo-terminal that is read and forgotten.
#include "report.h"

#include "tree/checkboxtree.h"

#include <cstdio>
#include <cstdlib>
#include <map>
#include <pty.h>
#include <thread>
#include <unistd.h>

namespace {

constexpr int treeHeight = 12; // rows, as in the main window
constexpr char itemText[] = "Ethernet adapter 1";

// A checkbox tree through its functions.
struct Kind {
    newtComponent (*make)();
    int (*add)(newtComponent tree, intptr_t data, int position);
    int *(*find)(newtComponent tree, intptr_t data);
};

constexpr Kind ours{
    .make = [] { return yat_newtCheckboxTreeMulti(1, 1, treeHeight, " ", NEWT_FLAG_SCROLL); },
    .add =
        [](newtComponent tree, intptr_t data, int position) {
            return yat_newtCheckboxTreeAddItem(tree, itemText, data, 0, nullptr, nullptr, position,
                                               NEWT_ARG_LAST);
        },
    .find = yat_newtCheckboxTreeFindItem,
};

constexpr Kind newts{
    .make =
        [] {
            static char sequence[] = " ";
            return newtCheckboxTreeMulti(1, 1, treeHeight, sequence, NEWT_FLAG_SCROLL);
        },
    .add =
        [](newtComponent tree, intptr_t data, int position) {
            return newtCheckboxTreeAddItem(tree, itemText, reinterpret_cast<void *>(data), 0,
                                           position, NEWT_ARG_LAST);
        },
    .find =
        [](newtComponent tree, intptr_t data) {
            return newtCheckboxTreeFindItem(tree, reinterpret_cast<void *>(data));
        },
};

// Where the next item goes in a list of so many.
int atEnd(int)
{
    return NEWT_ARG_APPEND;
}

int atFront(int)
{
    return 0;
}

int inMiddle(int count)
{
    return count / 2;
}

int anywhere(int count)
{
    static uint32_t random = 1;
    random = random * 1664525 + 1013904223;
    return static_cast<int>((random >> 8) % (static_cast<uint32_t>(count) + 1));
}

newtComponent fill(const Kind &kind, int64_t count, int (*place)(int))
{
    newtComponent tree = kind.make();
    for (int i = 0; i < count; ++i)
        kind.add(tree, i + 1, place(i));
    return tree;
}

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

bool press(newtComponent tree, int key)
{
    const Event event{.kind = EV_KEYPRESS, .phase = EV_NORMAL, .u = {.key = key}};
    return tree->ops->event(tree, event).kind == ER_SWALLOWED;
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
    ours.add(tree, 1, 0);
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
BENCHMARK_CAPTURE(add, random, ours, anywhere)->Apply(upTo100000);
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

// Puts a pseudo-terminal in the place of standard input and output. Returns the output before.
int enterTerminal()
{
    const winsize size{.ws_row = 24, .ws_col = 80, .ws_xpixel = 0, .ws_ypixel = 0};
    int terminal, program;
    if (openpty(&terminal, &program, nullptr, nullptr, &size) != 0)
        return -1;
    const int before = dup(STDOUT_FILENO);
    dup2(program, STDIN_FILENO);
    dup2(program, STDOUT_FILENO);
    std::thread([terminal] {
        char bytes[4096];
        while (read(terminal, bytes, sizeof bytes) > 0)
            continue;
    }).detach();
    setenv("TERM", "xterm", 1);
    return before;
}

} // namespace

int main(int argc, char **argv)
{
    const int output = enterTerminal();
    if (output < 0 || newtInit() != 0) {
        fprintf(stderr, "there is no terminal for the tree\n");
        return 1;
    }
    newtCls();
    const int status = runBenchmarks(argc, argv, output);
    newtFinished();
    return status;
}
