// SPDX-License-Identifier: GPL-2.0-or-later
// The model of the checkbox tree against a simple one, with random operations.
#include "tree/treemodel.h"

#include <algorithm>
#include <array>
#include <gtest/gtest.h>
#include <memory>
#include <newt.h>
#include <rapidcheck/gtest.h>

namespace {

// The same tree as plainly as it can be said: a vector of children, and everything worked out
// anew.
struct Simple {
    int data = 0;
    int selected = 0;
    std::vector<std::unique_ptr<Simple>> children;
};

struct SimpleTree {
    Simple root;
    int states = 1;
    int current = -1, first = -1; // positions among the visible items
    bool drawn = false;

    static void collect(const Simple &item, bool all, std::vector<const Simple *> &list)
    {
        for (const auto &child : item.children) {
            list.push_back(child.get());
            if (all || child->selected)
                collect(*child, all, list);
        }
    }
    std::vector<const Simple *> items(bool all) const
    {
        std::vector<const Simple *> list;
        collect(root, all, list);
        return list;
    }

    bool insert(const std::vector<int> &path, int data)
    {
        if (path.empty())
            return false;
        Simple *parent = &root;
        for (size_t i = 0; i + 1 < path.size(); ++i) {
            if (path[i] < 0 || path[i] >= static_cast<int>(parent->children.size()))
                return false;
            parent = parent->children[static_cast<size_t>(path[i])].get();
        }
        const int size = static_cast<int>(parent->children.size());
        const int position = path.back() < 0 ? size : std::min(path.back(), size);
        auto item = std::make_unique<Simple>();
        item->data = data;
        parent->children.insert(parent->children.begin() + position, std::move(item));
        return true;
    }
};

// Both trees, and the operations on both.
class Pair {
public:
    ~Pair()
    {
        for (Item *item : all)
            delete item;
        delete[] model.flatList;
    }

    void insert(const std::vector<int> &path)
    {
        auto *item = new Item;
        item->data = ++lastData;
        const bool inserted = insertItem(model, item, path);
        RC_ASSERT(inserted == simple.insert(path, lastData));
        if (inserted)
            all.push_back(item);
        else
            delete item;
        if (inserted && model.flatList)
            draw(); // as after an expansion: the lists know the new item
    }

    // What the widget does before it first draws, and what brings the lists up to date.
    void draw()
    {
        Item *current = currentItem(model);
        Item *first = model.flatList ? model.flatList[model.first] : nullptr;
        rebuildFlatList(model);
        model.current = current ? flatPosition(model, current) : 0;
        model.first = first ? flatPosition(model, first) : 0;
        simple.current = model.current;
        simple.first = model.first;
        simple.drawn = true;
    }

    void move(Move direction, int height)
    {
        if (!simple.drawn)
            draw();
        moveCurrent(model, direction, height);
        const int count = static_cast<int>(simple.items(false).size());
        int &current = simple.current, &first = simple.first;
        if (count == 0)
            return;
        if (direction == Move::up && current > 0) {
            first = std::min(first, --current);
        } else if (direction == Move::down && current + 1 < count) {
            ++current;
            if (current - first >= height)
                ++first;
        } else if (direction == Move::pageUp) {
            const bool whole = first >= height;
            current = whole ? current - height : 0;
            first = whole ? first - height : 0;
        } else if (direction == Move::pageDown) {
            const bool whole = first + 2 * height <= count;
            current = whole ? std::min(current + height, count - 1) : count - 1;
            first = whole ? first + height : std::max(count - height, 0);
        }
    }

    void toggle()
    {
        if (!simple.drawn)
            draw();
        if (simple.items(false).empty())
            return;
        const std::vector<const Simple *> before = simple.items(false);
        auto *item = const_cast<Simple *>(before[static_cast<size_t>(simple.current)]);
        const Simple *first = before[static_cast<size_t>(simple.first)];
        item->selected =
            item->children.empty() ? (item->selected + 1) % simple.states : !item->selected;
        setItem(model, currentItem(model), SetMode::toggle);
        const std::vector<const Simple *> after = simple.items(false);
        simple.current = static_cast<int>(std::ranges::find(after, item) - after.begin());
        simple.first = static_cast<int>(std::ranges::find(after, first) - after.begin());
    }

    void makeCurrentItem(int data, int height)
    {
        Item *item = findItem(model, data).item;
        const std::vector<const Simple *> every = simple.items(true);
        const auto found = std::ranges::find(every, data, &Simple::data);
        RC_ASSERT((item != nullptr) == (found != every.end()));
        if (!item)
            return;
        makeCurrent(model, item, height);
        expandAbove(simple.root, data);
        const std::vector<const Simple *> visible = simple.items(false);
        simple.current =
            static_cast<int>(std::ranges::find(visible, data, &Simple::data) - visible.begin());
        const int count = static_cast<int>(visible.size());
        simple.first = simple.current - height / 2;
        if (simple.first + height > count)
            simple.first = count - height;
        simple.first = std::max(simple.first, 0);
        simple.drawn = true;
    }

    void compare() const
    {
        compareItems();
        if (simple.drawn)
            compareVisible();
    }

    TreeModel model;
    SimpleTree simple;
    int lastData = 0;

private:
    static bool expandAbove(Simple &item, int data)
    {
        for (const auto &child : item.children)
            if (child->data == data || expandAbove(*child, data)) {
                item.selected = 1;
                return true;
            }
        return false;
    }

    void compareItems() const
    {
        const std::vector<const Simple *> wanted = simple.items(true);
        Walk walk(model.items);
        for (const Simple *one : wanted) {
            const Item *item = walk.item;
            RC_ASSERT(item != nullptr);
            RC_ASSERT(item->data == one->data);
            RC_ASSERT(static_cast<int>(item->selected) == one->selected);
            RC_ASSERT(isBranch(item) == !one->children.empty());
            RC_ASSERT(item->depth == (item->parent ? item->parent->depth + 1 : 0));
            RC_ASSERT(item->depth + 1 == walk.places.size());
            walk.next();
        }
        RC_ASSERT(walk.item == nullptr);
        RC_ASSERT(countItems(model, 0) == static_cast<int>(wanted.size()));
        for (int state = 1; state < 4; ++state)
            RC_ASSERT(countItems(model, state)
                      == std::ranges::count_if(wanted, [&](const Simple *one) {
                             return one->children.empty() && one->selected == state;
                         }));
    }

    void compareVisible() const
    {
        const std::vector<const Simple *> visible = simple.items(false);
        RC_ASSERT(model.flatCount == static_cast<int>(visible.size()));
        for (size_t i = 0; i < visible.size(); ++i)
            RC_ASSERT(model.flatList[i]->data == visible[i]->data);
        RC_ASSERT(model.flatList[visible.size()] == nullptr);
        RC_ASSERT(model.current == simple.current);
        RC_ASSERT(model.first == simple.first);
    }

    std::vector<Item *> all;
};

rc::Gen<std::vector<int>> paths()
{
    const auto position =
        rc::gen::weightedOneOf<int>({{6, rc::gen::inRange(0, 4)},
                                     {1, rc::gen::inRange(0, 30)},
                                     {3, rc::gen::just(static_cast<int>(NEWT_ARG_APPEND))}});
    return rc::gen::resize(4, rc::gen::container<std::vector<int>>(position));
}

} // namespace

RC_GTEST_PROP(TreeModel, DoesWhatTheSimpleTreeDoes, ())
{
    Pair pair;
    pair.simple.states = *rc::gen::inRange(1, 4);
    pair.model.sequence = std::string(" ab", static_cast<size_t>(pair.simple.states));
    const int height = *rc::gen::inRange(0, 6);
    const int operations = *rc::gen::inRange(0, 80);
    for (int i = 0; i < operations; ++i) {
        switch (*rc::gen::inRange(0, 9)) {
        case 0: pair.move(Move::up, height); break;
        case 1: pair.move(Move::down, height); break;
        case 2: pair.move(Move::pageUp, height); break;
        case 3: pair.move(Move::pageDown, height); break;
        case 4: pair.toggle(); break;
        case 5: pair.makeCurrentItem(*rc::gen::inRange(0, pair.lastData + 2), height); break;
        default: pair.insert(*paths());
        }
        pair.compare();
    }
}

RC_GTEST_PROP(TreeModel, FindsEveryItemWhereItIs, ())
{
    Pair pair;
    for (const auto &path : *rc::gen::container<std::vector<std::vector<int>>>(paths()))
        pair.insert(path);
    for (Walk walk(pair.model.items); walk.item; walk.next()) {
        const Walk found = findItem(pair.model, walk.item->data);
        RC_ASSERT(found.item == walk.item);
        const Siblings *list = &pair.model.items;
        const Item *item = nullptr;
        for (const Walk::Place &place : found.places) {
            const int position = place.position();
            item = siblingAt(*list, position);
            RC_ASSERT(item != nullptr);
            RC_ASSERT(isLast(pair.model, item) == !siblingAt(*list, position + 1));
            list = &item->children;
        }
        RC_ASSERT(item == walk.item);
    }
}

TEST(TreeModel, PageDownStaysInAListThatGrewAboveTheCurrentItem)
{
    TreeModel model;
    std::array<Item, 6> items;
    insertItem(model, &items[0], std::vector{0});
    insertItem(model, &items[1], std::vector{1});
    for (int i = 2; i < 6; ++i)
        insertItem(model, &items[static_cast<size_t>(i)], std::vector{0, i - 2});
    rebuildFlatList(model);
    model.first = 0;
    model.current = 1;
    setItem(model, &items[0], SetMode::set); // four more rows between the two
    EXPECT_EQ(model.current, 5);
    EXPECT_TRUE(moveCurrent(model, Move::pageDown, 3));
    EXPECT_EQ(currentItem(model), &items[1]);
    EXPECT_EQ(model.first, 3);
    model.first = model.current = 1;
    EXPECT_TRUE(moveCurrent(model, Move::pageDown, 2));
    EXPECT_EQ(model.current, 3);
    EXPECT_EQ(model.first, 3);
    delete[] model.flatList;
}

TEST(TreeModel, PageUpByAWholePageToTheTopKeepsTheRowOfTheCurrentItem)
{
    TreeModel model;
    std::array<Item, 4> items;
    for (int i = 0; i < 4; ++i)
        insertItem(model, &items[static_cast<size_t>(i)], std::vector{i});
    rebuildFlatList(model);
    model.first = 2;
    model.current = 3;
    EXPECT_TRUE(moveCurrent(model, Move::pageUp, 2));
    EXPECT_EQ(model.first, 0);
    EXPECT_EQ(model.current, 1);
    delete[] model.flatList;
}

TEST(TreeModel, CollapsingABranchMakesItCurrentInThePlaceOfWhatItHides)
{
    // top > middle > leaf, and one after it.
    TreeModel model;
    std::array<Item, 4> items;
    insertItem(model, &items[0], std::vector{0});
    insertItem(model, &items[1], std::vector{0, 0});
    insertItem(model, &items[2], std::vector{0, 0, 0});
    insertItem(model, &items[3], std::vector{1});
    makeCurrent(model, &items[2], 1);
    ASSERT_EQ(currentItem(model), &items[2]);
    setItem(model, &items[0], SetMode::reset);
    EXPECT_EQ(currentItem(model), &items[0]);
    EXPECT_EQ(model.first, 0);
    EXPECT_EQ(model.flatCount, 2);
    // A branch that is hidden itself changes nothing of what is shown.
    setItem(model, &items[1], SetMode::reset);
    EXPECT_EQ(currentItem(model), &items[0]);
    EXPECT_EQ(model.flatCount, 2);
}

// As many steps along the list as the number says, which is none for a negative one.
TEST(TreeModel, TakesNoStepForANegativePosition)
{
    TreeModel model;
    std::array<Item, 4> items;
    for (Item &item : items)
        item.data = &item - items.data();
    insertItem(model, &items[0], std::vector{-1});
    insertItem(model, &items[1], std::vector{-2});
    insertItem(model, &items[2], std::vector{-1});
    EXPECT_TRUE(insertItem(model, &items[3], std::vector{-7, -1}));
    EXPECT_EQ(siblingAt(model.items, 0), &items[1]);
    EXPECT_EQ(siblingAt(model.items, 2), &items[2]);
    EXPECT_EQ(items[3].parent, &items[1]);
    EXPECT_FALSE(insertItem(model, &items[3], std::vector{-1, -1}));
}
