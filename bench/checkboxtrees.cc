// SPDX-License-Identifier: GPL-2.0-or-later
#include "checkboxtrees.h"

#include <atomic>
#include <cstdlib>
#include <pty.h>
#include <slang.h>
#include <thread>
#include <unistd.h>

namespace {

constexpr int treeHeight = 12; // rows, as in the main window
constexpr char mark = '\x05';  // nothing that newt writes

std::atomic<int64_t> bytes, marks;

} // namespace

const Kind ours{
    .make = [] { return yat_newtCheckboxTreeMulti(1, 1, treeHeight, " ", NEWT_FLAG_SCROLL); },
    .add =
        [](newtComponent tree, const char *text, intptr_t data, int position) {
            return yat_newtCheckboxTreeAddItem(tree, text, data, 0, nullptr, nullptr, position,
                                               NEWT_ARG_LAST);
        },
    .find = yat_newtCheckboxTreeFindItem,
};

const Kind newts{
    .make =
        [] {
            static char sequence[] = " ";
            return newtCheckboxTreeMulti(1, 1, treeHeight, sequence, NEWT_FLAG_SCROLL);
        },
    .add =
        [](newtComponent tree, const char *text, intptr_t data, int position) {
            return newtCheckboxTreeAddItem(tree, text, reinterpret_cast<void *>(data), 0, position,
                                           NEWT_ARG_LAST);
        },
    .find =
        [](newtComponent tree, intptr_t data) {
            return newtCheckboxTreeFindItem(tree, reinterpret_cast<void *>(data));
        },
};

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
        kind.add(tree, itemText, i + 1, place(i));
    return tree;
}

bool press(newtComponent tree, int key)
{
    const Event event{.kind = EV_KEYPRESS, .phase = EV_NORMAL, .u = {.key = key}};
    return tree->ops->event(tree, event).kind == ER_SWALLOWED;
}

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
        char buffer[4096];
        for (ssize_t length; (length = read(terminal, buffer, sizeof buffer)) > 0;)
            for (ssize_t i = 0; i < length; ++i)
                if (buffer[i] != mark) {
                    ++bytes;
                } else {
                    ++marks;
                    marks.notify_one();
                }
    }).detach();
    setenv("TERM", "xterm", 1);
    if (newtInit() != 0)
        return -1;
    newtCls();
    return before;
}

int64_t bytesWritten()
{
    SLtt_flush_output();
    const int64_t before = marks;
    if (write(STDOUT_FILENO, &mark, 1) == 1)
        marks.wait(before);
    return bytes;
}
