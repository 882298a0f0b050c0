// SPDX-License-Identifier: GPL-2.0-or-later
// The two checkbox trees that are measured beside each other, and a terminal for them.
#pragma once

#include "tree/checkboxtree.h"

#include <cstdint>

// A checkbox tree through its functions.
struct Kind {
    newtComponent (*make)();
    int (*add)(newtComponent tree, const char *text, intptr_t data, int position);
    int *(*find)(newtComponent tree, intptr_t data);
};

extern const Kind ours, newts;

constexpr char itemText[] = "Ethernet adapter 1";

// Where the next item goes in a list of so many.
int atEnd(int count);
int atFront(int count);
int inMiddle(int count);
int anywhere(int count);

// Makes a tree of so many siblings, whose data count from 1 in the order in which they were added.
newtComponent fill(const Kind &kind, int64_t count, int (*place)(int));

// Presses a key. True when the tree takes it.
bool press(newtComponent tree, int key);

// Puts a pseudo-terminal of 80 by 24 in the place of standard input and output, and newt into it.
// What is written there is read and forgotten. Returns the output before, -1 on failure.
int enterTerminal();

// Bytes that have reached the terminal so far.
int64_t bytesWritten();
