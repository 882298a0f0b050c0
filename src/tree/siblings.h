// SPDX-License-Identifier: GPL-2.0-or-later
// The items of one sibling list in their order: a B+ tree by position, in which an item is found
// and inserted without a walk along the list and within a few cache lines.
#pragma once

#include <cstddef>
#include <memory>
#include <vector>

struct Item;
struct SiblingNode;

// A part of a list below a node, and the number of items in it.
struct SiblingPart {
    std::unique_ptr<SiblingNode> node;
    int count;
};

// A leaf has items, any other node has parts; none is empty.
struct SiblingNode {
    std::vector<Item *> items;
    std::vector<SiblingPart> parts;
    SiblingNode *next = nullptr; // the one after it at its height
};

// A list, which owns its nodes but not its items.
struct Siblings {
    std::unique_ptr<SiblingNode> root; // null while the list is empty
};

// The most items, or parts, that a node has.
constexpr size_t siblingNodeSize = 64;

// Puts an item before the one at the position, or at the end of a shorter list.
void insertSibling(Siblings &list, int position, Item *item);

// The item at a position that is not negative; null past the end.
Item *siblingAt(const Siblings &list, int position);

// The last item of a list that is not empty.
Item *lastSibling(const Siblings &list);

// The leaf with the first items; null for an empty list.
const SiblingNode *firstLeaf(const Siblings &list);
