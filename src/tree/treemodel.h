// SPDX-License-Identifier: GPL-2.0-or-later
// The items of the checkbox tree, apart from their drawing.
#pragma once

#include "tree/siblings.h"
#include "yat/device.h"

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

// Called when an item is chosen with Enter; the result is ignored.
using ItemCallback = int (*)(yat_device *record);

// An item; one that makeItem made has its text behind it.
struct Item {
    intptr_t data = 0;
    Siblings children{};
    ItemCallback callback = nullptr;
    yat_device *record = nullptr;
    Item *parent = nullptr;
    int flags = 0;
    unsigned depth : 24 = 0;
    unsigned selected : 8 = 0; // leaf: index of its state; branch: 1 expanded, 0 collapsed
};

// Makes an item with a copy of a text, in one piece of memory, and frees it.
Item *makeItem(std::string_view text);
void freeItem(Item *item);

// The text of an item that makeItem made.
inline const char *textOf(const Item *item)
{
    return reinterpret_cast<const char *>(item + 1);
}

enum class SetMode { set, reset, toggle };

struct TreeModel {
    Siblings items;            // of the top level
    Item **flatList = nullptr; // the visible items in display order, ended by null
    int current = -1;          // position in the flat list, -1 when there is none
    int first = -1;            // position of the item on the top row
    int flatCount = 0;
    std::string sequence; // a character for each state of a leaf
};

// True for an item that has items below it.
inline bool isBranch(const Item *item)
{
    return item->children.root != nullptr;
}

// True for the last item of its sibling list.
bool isLast(const TreeModel &model, const Item *item);

// Puts an item into the list that the path leads to: positions from the top level down, the last
// one that of the item, or NEWT_ARG_APPEND. The path has no end marker. Sets its depth and its
// parent. False, with nothing changed, when the path does not lead to a list.
bool insertItem(TreeModel &model, Item *item, std::span<const int> path);

// A walk over the items in depth-first order:
//
//     for (Walk walk(model.items); walk.item; walk.next())
//         visit(walk.item);
struct Walk {
    // Where it stands in the list of each level.
    struct Place {
        const SiblingNode *leaf;
        Item *const *at, *const *end; // in the leaf
        int before;                   // items in the leaves before

        int position() const
        {
            return before + static_cast<int>(at - leaf->items.data());
        }
    };
    std::vector<Place> places;
    Item *item = nullptr; // null past the last one

    explicit Walk(const Siblings &list);
    void next();        // goes below every branch
    void nextVisible(); // goes below expanded branches only
};

// The first item, in depth-first order, with this data, where a walk meets it.
Walk findItem(const TreeModel &model, intptr_t data);

// Number of items: of all with state 0, else of the leaves in that state.
int countItems(const TreeModel &model, int state);

// Makes the flat list anew. The positions in it are the caller's to correct.
void rebuildFlatList(TreeModel &model);

// Where an item stands in the flat list, -1 when it is not visible.
int flatPosition(const TreeModel &model, const Item *item);

// Sets, resets or toggles an item; for a branch, the flat list follows.
void setItem(TreeModel &model, Item *item, SetMode mode);

// Expands what hides the item and makes it the current one, in the middle of so many rows where
// the list allows it.
void makeCurrent(TreeModel &model, Item *item, int height);

// Scrolls as little as it takes to have the current item in so many rows, and these full.
void showCurrent(TreeModel &model, int height);

// Position of a state's character in the sequence, its length when it is not in there, 0 for the
// character 0.
int stateIndex(const TreeModel &model, char state);

// Moves the current item; false when nothing moved.
enum class Move { up, down, pageUp, pageDown };
bool moveCurrent(TreeModel &model, Move move, int height);

// The current item, null when there is none.
Item *currentItem(const TreeModel &model);
