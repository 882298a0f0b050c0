// SPDX-License-Identifier: GPL-2.0-or-later
// The checkbox tree: a newt component that shows a tree of items with tree lines and calls a
// function for the item that is chosen with Enter.
//
// An item is named by its data, a value of the caller's. Data need not be unique; what looks an
// item up finds the first one in depth-first order. Paths are arrays of positions in the sibling
// lists, counted from 0 from the top level down, ended by NEWT_ARG_LAST. A component that is null
// or no checkbox tree is not guarded against, except where it is said.
//
// The component is destroyed with its form. That frees the items of the top level; the items
// below it and the list of the visible ones stay allocated.
#pragma once

#include "tree/component.h"
#include "tree/treemodel.h"

#pragma GCC visibility push(default)
extern "C" {

// Makes an empty tree, `height` rows high and as wide as its items will need, with a state
// character for each state that a leaf can be in. With NEWT_FLAG_SCROLL it has a scroll bar. A
// null sequence means " *". The sequence is copied.
newtComponent yat_newtCheckboxTreeMulti(int left, int top, int height, const char *sequence,
                                        int flags);
newtComponent yat_newtCheckboxTree(int left, int top, int height, int flags);

// Adds an item. The path follows as ints, its last position (or NEWT_ARG_APPEND) where the item
// is to stand, then NEWT_ARG_LAST; a position past the end of a list appends. The text is copied,
// what can't be shown of it as '?'; null is "". AddItem takes EUC-JP as well as the encoding of the
// locale, up to 1023 bytes of it. With NEWT_FLAG_SELECTED in the flags, a leaf begins in its second
// state and a branch expanded. The record is handed to the callback and stays the caller's.
//
// Returns 0, or -1, with nothing added, when the path leads to no list.
int yat_newtCheckboxTreeAddItem(newtComponent tree, const char *text, intptr_t data, int flags,
                                ItemCallback callback, yat_device *record, int index, ...);
int yat_newtCheckboxTreeAddArray(newtComponent tree, const char *text, intptr_t data,
                                 ItemCallback callback, yat_device *record, int flags,
                                 const int *path);

// The path of an item, ended by NEWT_ARG_LAST, to be freed with free(); null when there is none.
int *yat_newtCheckboxTreeFindItem(newtComponent tree, intptr_t data);

// The data of the leaves in a state, in depth-first order, to be freed with free(), and their
// number. For state 0, and for GetSelection, of the leaves in any state but the first, yet no
// more of them than there are in the second. Null, with a count of 0, when there are none, or
// when an argument is null.
intptr_t *yat_newtCheckboxTreeGetSelection(newtComponent tree, int *count);
intptr_t *yat_newtCheckboxTreeGetMultiSelection(newtComponent tree, int *count, char state);

// The data of the current item; 0 when there is none, as before the tree is first drawn.
intptr_t yat_newtCheckboxTreeGetCurrent(newtComponent tree);

// Expands the branches above an item, makes it current and visible, and draws the tree. Nothing
// happens for unknown data.
void yat_newtCheckboxTreeSetCurrent(newtComponent tree, intptr_t data);

// The state character of a leaf; 1 for an expanded branch, 0 for a collapsed one; -1 when the tree
// is null or has no such item.
int yat_newtCheckboxTreeGetEntryValue(newtComponent tree, intptr_t data);

// Puts a leaf into a state and draws the tree. Ignored for a branch, for unknown data and for a
// character that is not in the sequence.
void yat_newtCheckboxTreeSetEntryValue(newtComponent tree, intptr_t data, char state);

} // extern "C"
#pragma GCC visibility pop
