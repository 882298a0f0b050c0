// SPDX-License-Identifier: GPL-2.0-or-later
// Sibling lists of sizes at which their nodes are split, against a plain one.
#include "tree/siblings.h"
#include "tree/treemodel.h"

#include <algorithm>
#include <climits>
#include <deque>
#include <gtest/gtest.h>

namespace {

// A list and the same as plainly as it can be said.
struct Pair {
    Siblings list;
    std::deque<Item *> wanted;
    std::deque<Item> items;

    void insert(int position)
    {
        Item *item = &items.emplace_back();
        insertSibling(list, position, item);
        const auto size = static_cast<int>(wanted.size());
        wanted.insert(wanted.begin() + std::min(position, size), item);
    }
};

// Counts below a node agree with what is there, and no node is empty or too large. Gives the
// height back.
int checkNode(const SiblingNode &node, int *count)
{
    EXPECT_NE(node.items.empty(), node.parts.empty());
    EXPECT_LE(std::max(node.items.size(), node.parts.size()), siblingNodeSize);
    *count = static_cast<int>(node.items.size());
    int height = 0;
    for (const SiblingPart &part : node.parts) {
        int below;
        const int partHeight = checkNode(*part.node, &below) + 1;
        EXPECT_EQ(below, part.count);
        EXPECT_TRUE(height == 0 || height == partHeight);
        height = partHeight;
        *count += below;
    }
    return height;
}

int check(const Pair &pair)
{
    int count;
    const int height = checkNode(*pair.list.root, &count);
    EXPECT_EQ(count, static_cast<int>(pair.wanted.size()));
    EXPECT_EQ(lastSibling(pair.list), pair.wanted.back());
    std::deque<Item *> inLeaves, byPosition;
    for (const SiblingNode *leaf = firstLeaf(pair.list); leaf; leaf = leaf->next)
        inLeaves.insert(inLeaves.end(), leaf->items.begin(), leaf->items.end());
    for (int i = 0; i < count; ++i)
        byPosition.push_back(siblingAt(pair.list, i));
    EXPECT_EQ(inLeaves, pair.wanted);
    EXPECT_EQ(byPosition, pair.wanted);
    EXPECT_EQ(siblingAt(pair.list, count), nullptr);
    EXPECT_EQ(siblingAt(pair.list, INT_MAX), nullptr);
    return height;
}

constexpr int nodeSize = siblingNodeSize;

int atEnd(int)
{
    return INT_MAX;
}

int atFront(int)
{
    return 0;
}

int inMiddle(int count)
{
    return count / 2;
}

int beforeLast(int count)
{
    return std::max(count - 1, 0);
}

// Where the first leaf is split.
int inFirstLeaf(int)
{
    return nodeSize / 2;
}

int anywhere(int count)
{
    static uint32_t random = 1;
    random = random * 1664525 + 1013904223;
    return static_cast<int>((random >> 8) % (static_cast<uint32_t>(count) + 1));
}

int (*const places[])(int count) = {atEnd, atFront, inMiddle, beforeLast, inFirstLeaf, anywhere};

} // namespace

TEST(Siblings, AreNoneAtFirst)
{
    const Siblings list;
    EXPECT_EQ(siblingAt(list, 0), nullptr);
    EXPECT_EQ(firstLeaf(list), nullptr);
}

TEST(Siblings, StayInOrderWhereLeavesAreSplit)
{
    for (const auto place : places) {
        Pair pair;
        for (int count = 0; count < 4 * nodeSize; ++count) {
            pair.insert(place(count));
            ASSERT_EQ(check(pair), count < nodeSize ? 0 : 1) << count;
        }
    }
}

TEST(Siblings, StayInOrderWhereNodesAboveLeavesAreSplit)
{
    for (const auto place : places) {
        Pair pair;
        while (pair.items.size() < nodeSize * nodeSize + 1) {
            for (int i = 0; i < nodeSize; ++i)
                pair.insert(place(static_cast<int>(pair.items.size())));
            check(pair);
        }
        EXPECT_EQ(check(pair), 2);
    }
}

TEST(Siblings, StayInOrderWhereNodesAboveThoseAreSplit)
{
    for (const auto place : {atEnd, atFront}) {
        Pair pair;
        while (pair.items.size() < nodeSize * nodeSize * nodeSize / 3)
            pair.insert(place(0));
        EXPECT_EQ(check(pair), 3);
    }
}
