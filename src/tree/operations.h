// SPDX-License-Identifier: GPL-2.0-or-later
// The checkbox tree as a component of newt: how it is drawn, placed and destroyed, what its keys
// do.
#pragma once

#include "tree/component.h"
#include "tree/treemodel.h"

#include <algorithm>

// A component's own data.
struct TreeWidget {
    TreeModel model;
    newtComponent scrollbar;
    int curWidth, curHeight; // as newt's widgets have them
    int flags;
    int pad; // columns kept for the scroll bar
    char *result;
    int madeWidth, madeHeight; // where limitCheckboxTree makes them smaller
};

inline TreeWidget &treeOf(newtComponent component)
{
    return *static_cast<TreeWidget *>(component->data);
}

// Rows that the tree has on the screen.
inline int rowsOf(newtComponent component)
{
    return std::max(component->height, 0);
}

#pragma GCC visibility push(default)
extern "C" {

extern const ComponentOperations ctOps;

void yat_ctDraw(newtComponent tree);
EventResult yat_ctEvent(newtComponent tree, Event event);
void yat_ctDestroy(newtComponent tree);
void yat_ctPlace(newtComponent tree, int left, int top);
void yat_ctMapped(newtComponent tree, int isMapped);

void yat_ctSetItem(newtComponent tree, Item *item, SetMode mode);
int yat_ctSetItem1(Item *item);

} // extern "C"
#pragma GCC visibility pop

// Makes the tree show at most so many columns and rows of what it was made for, its scroll bar
// included.
void limitCheckboxTree(newtComponent tree, int columns, int rows);
