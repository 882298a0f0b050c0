// SPDX-License-Identifier: GPL-2.0-or-later
// What the checkbox tree takes beside the one of newt: memory, time that grows, bytes to the
// terminal. Both are measured in turns in one run.
#include "checkboxtrees.h"
#include "report.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <functional>
#include <malloc.h>
#include <string>
#include <vector>

namespace {

FILE *table;

double median(std::vector<double> values)
{
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::ranges::nth_element(values, middle);
    return *middle;
}

// Processor time of this thread, in seconds, that something takes.
double timeOf(const std::function<void()> &what)
{
    timespec from, to;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &from);
    what();
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &to);
    return static_cast<double>(to.tv_sec - from.tv_sec)
           + 1e-9 * static_cast<double>(to.tv_nsec - from.tv_nsec);
}

void tellBoth(const std::string &figure, double ofOurs, double ofNewts)
{
    fprintf(table, "| %s | %.3g | %.3g | %.2f |\n", figure.c_str(), ofOurs, ofNewts,
            ofOurs / ofNewts);
    fflush(table);
}

// Destroys a tree so that the next one is not made of its crumbs.
void drop(newtComponent tree)
{
    newtComponentDestroy(tree);
    malloc_trim(0);
}

double bytesPerItem(const Kind &kind, int (*place)(int))
{
    constexpr int count = 10000;
    const size_t before = mallinfo2().uordblks;
    newtComponent tree = fill(kind, count, place);
    const size_t after = mallinfo2().uordblks;
    drop(tree);
    return static_cast<double>(after - before) / count;
}

// Time in ns to find the last of the items, for each of them.
void tellFinding()
{
    constexpr int count = 10000, rounds = 1001;
    newtComponent trees[] = {fill(ours, count, atEnd), fill(newts, count, atEnd)};
    std::vector<double> times[2], ratios;
    for (int i = 0; i < rounds; ++i) {
        for (const int which : {0, 1})
            times[which].push_back(
                timeOf([&] { free((which ? newts : ours).find(trees[which], count)); }));
        ratios.push_back(times[0].back() / times[1].back());
    }
    fprintf(table, "| FindItem of the last of %d, ns an item | %.3g | %.3g | %.2f |\n", count,
            median(times[0]) / count * 1e9, median(times[1]) / count * 1e9, median(ratios));
    for (newtComponent tree : trees)
        drop(tree);
}

// A group of so many devices in a server, all expanded, as the main window has them.
newtComponent showGroup(const Kind &kind, int count)
{
    newtComponent tree = kind.make();
    kind.add(tree, "FT server", 1, 0);
    const bool isOurs = &kind == &ours;
    const auto add = [&](const char *text, intptr_t data, const std::vector<int> &path) {
        if (isOurs)
            yat_newtCheckboxTreeAddArray(tree, text, data, nullptr, nullptr, 0, path.data());
        else
            newtCheckboxTreeAddArray(tree, text, reinterpret_cast<void *>(data), 0,
                                     const_cast<int *>(path.data()));
    };
    add("Ethernet adapters", 2, {0, 0, NEWT_ARG_LAST});
    for (int i = 0; i < count; ++i)
        add(("Ethernet adapter " + std::to_string(i + 1)).c_str(), i + 3,
            {0, 0, NEWT_ARG_APPEND, NEWT_ARG_LAST});
    newtOpenWindow(2, 2, 60, 16, "window");
    newtComponent form = newtForm(nullptr, nullptr, 0);
    newtFormAddComponent(form, tree);
    tree->ops->place(tree, 1, 1);
    newtDrawForm(form);
    for (const int key : {int{' '}, NEWT_KEY_DOWN, int{' '}})
        press(tree, key);
    newtRefresh();
    return tree;
}

double bytesPerKey(newtComponent tree, int key, int times)
{
    const int64_t before = bytesWritten();
    for (int i = 0; i < times; ++i) {
        press(tree, key);
        newtRefresh();
    }
    return static_cast<double>(bytesWritten() - before) / times;
}

void tellKeys()
{
    struct {
        const char *name;
        int key, times;
    } constexpr keys[] = {
        {"Down within the rows", NEWT_KEY_DOWN, 8}, {"Down, scrolling", NEWT_KEY_DOWN, 30},
        {"Up within the rows", NEWT_KEY_UP, 11},    {"Up, scrolling", NEWT_KEY_UP, 20},
        {"Page Down", NEWT_KEY_PGDN, 20},           {"Page Up", NEWT_KEY_PGUP, 20},
    };
    std::vector<double> bytes[2];
    for (const int which : {0, 1}) {
        newtComponent tree = showGroup(which ? newts : ours, 1000);
        for (const auto &key : keys)
            bytes[which].push_back(bytesPerKey(tree, key.key, key.times));
        newtPopWindow();
    }
    for (size_t i = 0; i < std::size(keys); ++i)
        tellBoth(std::string("bytes to the terminal, ") + keys[i].name, bytes[0][i], bytes[1][i]);
}

// The exponent e for which n^e fits the times for n items at random places best.
void tellGrowth()
{
    constexpr int sizes[] = {10000, 31623, 100000, 316228, 1000000};
    constexpr int rounds = 5;
    std::vector<double> times[std::size(sizes)];
    for (int round = 0; round < rounds; ++round)
        for (size_t i = 0; i < std::size(sizes); ++i) {
            newtComponent tree;
            times[i].push_back(timeOf([&] { tree = fill(ours, sizes[i], anywhere); }));
            drop(tree);
        }
    double sumX = 0, sumY = 0, sumXX = 0, sumXY = 0;
    for (size_t i = 0; i < std::size(sizes); ++i) {
        const double x = std::log(sizes[i]), y = std::log(median(times[i]));
        sumX += x;
        sumY += y;
        sumXX += x * x;
        sumXY += x * y;
        fprintf(table, "| ns an item, %d at random places | %.3g | | |\n", sizes[i],
                median(times[i]) / sizes[i] * 1e9);
    }
    constexpr double count = std::size(sizes);
    fprintf(table, "| exponent of the time for n of them | %.2f | | |\n",
            (count * sumXY - sumX * sumY) / (count * sumXX - sumX * sumX));
}

} // namespace

int main()
{
    const int output = enterTerminal();
    table = output < 0 ? nullptr : fdopen(output, "w");
    if (!table) {
        fprintf(stderr, "there is no terminal for the tree\n");
        return 1;
    }
    fprintf(table, "%s\n\n| figure | ours | newt's | ratio |\n|---|---:|---:|---:|\n",
            conditions().c_str());
    tellBoth("bytes an item, 10000 at the end", bytesPerItem(ours, atEnd),
             bytesPerItem(newts, atEnd));
    tellBoth("bytes an item, 10000 at random places", bytesPerItem(ours, anywhere),
             bytesPerItem(newts, anywhere));
    tellFinding();
    tellKeys();
    tellGrowth();
    newtFinished();
    return fclose(table) == 0 ? 0 : 1;
}
