// The items of the checkbox tree, apart from their drawing.
#pragma once

#include "yat/device.h"

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

// Called when an item is chosen with Enter; the result is ignored.
using ItemCallback = int (*)(yat_device *record);

struct Item;

// The items of one sibling list by their position: a balanced tree over the list, so that the k-th
// item is found and an item is inserted without a walk along the list.
struct SiblingOrder {
    Item *root = nullptr;
    Item *last = nullptr;
};

struct Item {
    std::string text;
    intptr_t data = 0;
    ItemCallback callback = nullptr;
    yat_device *record = nullptr;
    unsigned char selected = 0; // leaf: index of its state; branch: 1 expanded, 0 collapsed
    Item *next = nullptr, *prev = nullptr;
    Item *branch = nullptr; // first child
    int flags = 0;
    int depth = 0;

    Item *parent = nullptr;
    SiblingOrder children{};
    // Of the order this item is in:
    Item *lower = nullptr, *upper = nullptr;
    uint32_t priority = 0;
    int below = 1; // items in this part of the order, this one included
};

enum class SetMode { set, reset, toggle };

struct TreeModel {
    Item *items = nullptr; // first item of the top level
    SiblingOrder order;
    Item **flatList = nullptr; // the visible items in display order, ended by null
    int current = -1;          // position in the flat list, -1 when there is none
    int first = -1;            // position of the item on the top row
    int flatCount = 0;
    std::string sequence; // a character for each state of a leaf
    uint32_t random = 2463534242;
};

// Puts an item into the list that the path leads to: positions from the top level down, the last
// one that of the item, or NEWT_ARG_APPEND. The path has no end marker. Sets its depth and its
// neighbours. False, with nothing changed, when the path does not lead to a list.
bool insertItem(TreeModel &model, Item *item, std::span<const int> path);

// The item after this one in depth-first order, null after the last: of the whole tree, or of
// what is visible.
Item *nextItem(const Item *item);
Item *nextVisibleItem(const Item *item);

// The first item, in depth-first order, with this data.
Item *findItem(const TreeModel &model, intptr_t data);

// Position of an item in its sibling list.
int itemPosition(const Item *item);

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
