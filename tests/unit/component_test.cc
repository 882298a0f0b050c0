// SPDX-License-Identifier: GPL-2.0-or-later
// The checkbox tree as a component, without a screen.
#include "tree/checkboxtree.h"
#include "tree/operations.h"

#include <clocale>
#include <cstdlib>
#include <gtest/gtest.h>
#include <malloc.h>
#include <vector>

namespace {

class CheckboxTree : public testing::Test {
protected:
    CheckboxTree()
    {
        setlocale(LC_ALL, "C.UTF-8");
        setenv("TERM", "vt100", 0); // newt's scroll bar looks at it
        tree = yat_newtCheckboxTree(3, 4, 5, 0);
    }
    ~CheckboxTree() override
    {
        if (tree)
            newtComponentDestroy(tree);
        setlocale(LC_ALL, "C");
    }

    int width() const
    {
        int columns, rows;
        newtComponentGetSize(tree, &columns, &rows);
        return columns;
    }

    int add(const char *text, intptr_t data, std::vector<int> path, int flags = 0)
    {
        path.push_back(NEWT_ARG_LAST);
        return yat_newtCheckboxTreeAddArray(tree, text, data, nullptr, nullptr, flags, path.data());
    }

    // The path of an item; empty when there is none.
    std::vector<int> pathOf(intptr_t data) const
    {
        std::vector<int> result;
        if (int *path = yat_newtCheckboxTreeFindItem(tree, data)) {
            for (int *position = path; *position != NEWT_ARG_LAST; ++position)
                result.push_back(*position);
            EXPECT_GE(malloc_usable_size(path), (result.size() + 1) * sizeof *path);
            free(path);
        }
        return result;
    }

    std::vector<intptr_t> selection(char state) const
    {
        int count = -1;
        intptr_t *list = yat_newtCheckboxTreeGetMultiSelection(tree, &count, state);
        EXPECT_EQ(list == nullptr, count == 0);
        std::vector<intptr_t> result(list, list + count);
        free(list);
        return result;
    }

    newtComponent tree;
};

using Path = std::vector<int>;

} // namespace

TEST_F(CheckboxTree, IsMadeAsAsked)
{
    int left, top, columns, rows;
    newtComponentGetPosition(tree, &left, &top);
    newtComponentGetSize(tree, &columns, &rows);
    EXPECT_EQ(std::tuple(left, top, columns, rows), std::tuple(3, 4, 0, 5));
    EXPECT_EQ(tree->takesFocus, 1);
    EXPECT_EQ(tree->isMapped, 0);
    EXPECT_EQ(tree->ops, &ctOps);
    EXPECT_EQ(ctOps.draw, yat_ctDraw);
    EXPECT_EQ(ctOps.event, yat_ctEvent);
    EXPECT_EQ(ctOps.destroy, yat_ctDestroy);
    EXPECT_EQ(ctOps.place, yat_ctPlace);
    EXPECT_EQ(ctOps.mapped, yat_ctMapped);
    const TreeWidget &widget = treeOf(tree);
    EXPECT_EQ(std::tuple(widget.curWidth, widget.curHeight, widget.flags, widget.pad),
              std::tuple(0, 0, 0, 0));
    EXPECT_EQ(std::pair(widget.madeWidth, widget.madeHeight), std::pair(0, 5));
    EXPECT_EQ(widget.scrollbar, nullptr);
    EXPECT_EQ(widget.result, nullptr);
}

TEST_F(CheckboxTree, PlacesItsScrollBarAtItsRightEdge)
{
    newtComponentDestroy(tree);
    tree = yat_newtCheckboxTreeMulti(1, 2, 5, " ", NEWT_FLAG_SCROLL);
    const newtComponent bar = treeOf(tree).scrollbar;
    EXPECT_EQ(std::tuple(bar->left, bar->top, bar->height), std::tuple(1, 2, 5));
    add("x", 1, {0}); // 1 + 4 + 2 for the scroll bar
    EXPECT_EQ(width(), 7);
    tree->ops->place(tree, 10, 20);
    int left, top;
    newtComponentGetPosition(tree, &left, &top);
    EXPECT_EQ(std::pair(left, top), std::pair(10, 20));
    EXPECT_EQ(std::pair(bar->left, bar->top), std::pair(16, 20));
}

TEST_F(CheckboxTree, RefusesAPathThatLeadsNowhere)
{
    EXPECT_EQ(add("x", 1, {0, 0}), -1);
    EXPECT_EQ(add("x", 1, {0, NEWT_ARG_APPEND}), -1);
    EXPECT_EQ(add("x", 1, {}), -1);
    EXPECT_EQ(add("top", 1, {7}), 0); // any position makes the first item of an empty tree
    EXPECT_EQ(add("x", 2, {0, 0, 0}), -1);
    EXPECT_EQ(add("x", 2, {1, 0}), -1);
    EXPECT_EQ(add("x", 2, {NEWT_ARG_APPEND, 0}), -1);
    EXPECT_EQ(add("child", 2, {0, 5}), 0);
    EXPECT_EQ(pathOf(2), (Path{0, 0}));
    EXPECT_EQ(width(), 5 + 4 + 5);
}

TEST_F(CheckboxTree, AddsWhereThePathSays)
{
    add("b", 2, {NEWT_ARG_APPEND});
    add("a", 1, {0});
    add("d", 4, {99});
    add("c", 3, {2});
    EXPECT_EQ(pathOf(1), Path{0});
    EXPECT_EQ(pathOf(2), Path{1});
    EXPECT_EQ(pathOf(3), Path{2});
    EXPECT_EQ(pathOf(4), Path{3});
    add("c2", 32, {2, NEWT_ARG_APPEND});
    add("c1", 31, {2, 0});
    add("c2x", 321, {2, 1, NEWT_ARG_APPEND});
    EXPECT_EQ(pathOf(31), (Path{2, 0}));
    EXPECT_EQ(pathOf(321), (Path{2, 1, 0}));
    EXPECT_EQ(pathOf(99), Path{});
}

TEST_F(CheckboxTree, FindsItsWayInLongLists)
{
    constexpr int count = 500; // more than a node of a list takes
    add("top", 1, {0});
    for (int i = 0; i < count; ++i)
        add("child", 100 + i, {0, NEWT_ARG_APPEND});
    for (int i = 0; i < count; ++i)
        add("grandchild", 1000 + i, {0, i, 0});
    for (int i = 0; i < count; ++i) {
        ASSERT_EQ(pathOf(100 + i), (Path{0, i}));
        ASSERT_EQ(pathOf(1000 + i), (Path{0, i, 0}));
    }
}

TEST_F(CheckboxTree, TakesItsPathAsArgumentsToo)
{
    EXPECT_EQ(yat_newtCheckboxTreeAddItem(tree, "top", 1, 0, nullptr, nullptr, 0, NEWT_ARG_LAST),
              0);
    EXPECT_EQ(yat_newtCheckboxTreeAddItem(tree, "child", 2, 0, nullptr, nullptr, 0, NEWT_ARG_APPEND,
                                          NEWT_ARG_LAST),
              0);
    EXPECT_EQ(yat_newtCheckboxTreeAddItem(tree, "x", 3, 0, nullptr, nullptr, 4, 0, NEWT_ARG_LAST),
              -1);
    EXPECT_EQ(yat_newtCheckboxTreeAddItem(tree, "x", 3, 0, nullptr, nullptr, NEWT_ARG_LAST), -1);
    EXPECT_EQ(pathOf(2), (Path{0, 0}));
}

TEST_F(CheckboxTree, GrowsWithItsTexts)
{
    add("12345", 1, {0});
    EXPECT_EQ(width(), 5 + 4);
    add("1", 2, {0, 0});
    EXPECT_EQ(width(), 1 + 4 + 5);
    add("123456789", 3, {0, 0, 0});
    EXPECT_EQ(width(), 9 + 4 + 10);
    add("1", 4, {0, 0, 0});
    EXPECT_EQ(width(), 9 + 4 + 10);
    add("漢字漢字漢字漢字漢字", 5, {0}); // 30 bytes, 20 columns
    EXPECT_EQ(width(), 20 + 4);
}

TEST_F(CheckboxTree, ConvertsNamesFromEuc)
{
    yat_newtCheckboxTreeAddItem(tree, "\xb4\xc1\xbb\xfa", 1, 0, nullptr, nullptr, 0, NEWT_ARG_LAST);
    EXPECT_EQ(width(), 4 + 4);
    const std::string longest(3000, 'x');
    yat_newtCheckboxTreeAddItem(tree, longest.c_str(), 2, 0, nullptr, nullptr, 0, NEWT_ARG_LAST);
    EXPECT_EQ(width(), 1023 + 4);
}

TEST_F(CheckboxTree, TakesTextsThatAreNone)
{
    const int path[] = {NEWT_ARG_APPEND, NEWT_ARG_LAST};
    EXPECT_EQ(yat_newtCheckboxTreeAddArray(tree, nullptr, 1, nullptr, nullptr, 0, path), 0);
    EXPECT_EQ(yat_newtCheckboxTreeAddItem(tree, nullptr, 2, 0, nullptr, nullptr, NEWT_ARG_APPEND,
                                          NEWT_ARG_LAST),
              0);
    EXPECT_EQ(tree->width, 4);
    EXPECT_EQ(yat_newtCheckboxTreeGetEntryValue(tree, 2), ' ');
}

TEST_F(CheckboxTree, TellsAndSetsTheStateOfALeaf)
{
    newtComponentDestroy(tree);
    tree = yat_newtCheckboxTreeMulti(0, 0, 5, " abc", 0);
    add("leaf", 1, {0});
    add("selected", 2, {1}, NEWT_FLAG_SELECTED);
    add("branch", 3, {2});
    add("below", 4, {2, 0});
    EXPECT_EQ(yat_newtCheckboxTreeGetEntryValue(tree, 1), ' ');
    EXPECT_EQ(yat_newtCheckboxTreeGetEntryValue(tree, 2), 'a');
    EXPECT_EQ(yat_newtCheckboxTreeGetEntryValue(tree, 3), 0); // collapsed
    EXPECT_EQ(yat_newtCheckboxTreeGetEntryValue(tree, 9), -1);
    EXPECT_EQ(yat_newtCheckboxTreeGetEntryValue(nullptr, 1), -1);
    yat_newtCheckboxTreeSetEntryValue(tree, 1, 'c');
    EXPECT_EQ(yat_newtCheckboxTreeGetEntryValue(tree, 1), 'c');
    yat_newtCheckboxTreeSetEntryValue(tree, 1, 'x'); // no state
    yat_newtCheckboxTreeSetEntryValue(tree, 3, 'a'); // a branch
    yat_newtCheckboxTreeSetEntryValue(tree, 9, 'a'); // unknown
    EXPECT_EQ(yat_newtCheckboxTreeGetEntryValue(tree, 1), 'c');
    EXPECT_EQ(yat_newtCheckboxTreeGetEntryValue(tree, 3), 0);

    newtComponentDestroy(tree);
    tree = yat_newtCheckboxTreeMulti(0, 0, 5, " ", 0);
    add("of a state that is none", 1, {0}, NEWT_FLAG_SELECTED);
    EXPECT_EQ(yat_newtCheckboxTreeGetEntryValue(tree, 1), 0);
    EXPECT_EQ(treeOf(tree).model.items.root->items[0]->flags, NEWT_FLAG_SELECTED);
}

TEST_F(CheckboxTree, ListsTheLeavesOfAState)
{
    newtComponentDestroy(tree);
    tree = yat_newtCheckboxTreeMulti(0, 0, 5, " ab", 0);
    EXPECT_EQ(selection(0), std::vector<intptr_t>{});
    for (intptr_t i = 0; i < 6; ++i)
        add("leaf", i + 1, {NEWT_ARG_APPEND});
    add("below", 100, {2, 0}); // item 3 is a branch now
    EXPECT_EQ(selection(0), std::vector<intptr_t>{});
    yat_newtCheckboxTreeSetEntryValue(tree, 1, 'a');
    yat_newtCheckboxTreeSetEntryValue(tree, 100, 'a');
    yat_newtCheckboxTreeSetEntryValue(tree, 5, 'b');
    yat_newtCheckboxTreeSetEntryValue(tree, 6, 'b');
    EXPECT_EQ(selection('a'), (std::vector<intptr_t>{1, 100}));
    EXPECT_EQ(selection('b'), (std::vector<intptr_t>{5, 6}));
    EXPECT_EQ(selection('x'), std::vector<intptr_t>{});
    // In any state but the first, yet no more than there are in the second.
    EXPECT_EQ(selection(0), (std::vector<intptr_t>{1, 100}));
    EXPECT_EQ(selection(' '), (std::vector<intptr_t>{1, 100}));
    yat_newtCheckboxTreeSetEntryValue(tree, 1, ' ');
    yat_newtCheckboxTreeSetEntryValue(tree, 100, ' ');
    EXPECT_EQ(selection(0), std::vector<intptr_t>{});

    int count = 5;
    EXPECT_EQ(yat_newtCheckboxTreeGetSelection(tree, &count), nullptr);
    EXPECT_EQ(count, 0);
    count = 5;
    EXPECT_EQ(yat_newtCheckboxTreeGetMultiSelection(nullptr, &count, 'a'), nullptr);
    EXPECT_EQ(count, 0);
    EXPECT_EQ(yat_newtCheckboxTreeGetMultiSelection(tree, nullptr, 'a'), nullptr);
}

TEST_F(CheckboxTree, MakesAnItemCurrentAndExpandsWhatHidesIt)
{
    EXPECT_EQ(yat_newtCheckboxTreeGetCurrent(tree), 0);
    yat_newtCheckboxTreeSetCurrent(tree, 7); // nothing there
    EXPECT_EQ(yat_newtCheckboxTreeGetCurrent(tree), 0);
    add("top", 1, {0});
    add("middle", 2, {0, 0});
    add("leaf", 3, {0, 0, 0});
    EXPECT_EQ(yat_newtCheckboxTreeGetCurrent(tree), 0); // not drawn yet
    yat_newtCheckboxTreeSetCurrent(tree, 3);
    EXPECT_EQ(yat_newtCheckboxTreeGetCurrent(tree), 3);
    EXPECT_EQ(yat_newtCheckboxTreeGetEntryValue(tree, 1), 1);
    EXPECT_EQ(yat_newtCheckboxTreeGetEntryValue(tree, 2), 1);
    yat_newtCheckboxTreeSetCurrent(tree, 7);
    EXPECT_EQ(yat_newtCheckboxTreeGetCurrent(tree), 3);
}

TEST_F(CheckboxTree, IgnoresWhatIsNotForIt)
{
    const auto answer = [&](EventKind kind, EventPhase phase, int key = 0) {
        return yat_ctEvent(tree, {.kind = kind, .phase = phase, .u = {.key = key}}).kind;
    };
    EXPECT_EQ(answer(EV_KEYPRESS, EV_EARLY, ' '), ER_IGNORED);
    EXPECT_EQ(answer(EV_KEYPRESS, EV_LATE, ' '), ER_IGNORED);
    EXPECT_EQ(answer(EV_FOCUS, EV_EARLY), ER_IGNORED);
    EXPECT_EQ(answer(EV_MOUSE, EV_NORMAL), ER_IGNORED);
    EXPECT_EQ(answer(EV_FOCUS, EV_NORMAL), ER_SWALLOWED);
    EXPECT_EQ(answer(EV_UNFOCUS, EV_NORMAL), ER_SWALLOWED);
    for (const int key : std::vector<int>{'\r', ' ', NEWT_KEY_UP, NEWT_KEY_DOWN, NEWT_KEY_PGUP,
                                          NEWT_KEY_PGDN, 'x', NEWT_KEY_F12, -1})
        EXPECT_EQ(answer(EV_KEYPRESS, EV_NORMAL, key), ER_SWALLOWED) << key; // also when empty
}

TEST_F(CheckboxTree, CallsTheItemThatIsChosenWithItsRecord)
{
    static yat_device device;
    static yat_device *chosen;
    static int calls;
    chosen = nullptr;
    calls = 0;
    const ItemCallback callback = [](yat_device *record) {
        chosen = record;
        return ++calls;
    };
    yat_newtCheckboxTreeAddItem(tree, "device", 1, 0, callback, &device, 0, NEWT_ARG_LAST);
    yat_newtCheckboxTreeSetCurrent(tree, 1);
    yat_ctEvent(tree, {.kind = EV_KEYPRESS, .phase = EV_NORMAL, .u = {.key = NEWT_KEY_ENTER}});
    EXPECT_EQ(chosen, &device);
    EXPECT_EQ(calls, 1);
}

TEST_F(CheckboxTree, TakesAnItemWithoutACallback)
{
    Item item{};
    EXPECT_EQ(yat_ctSetItem1(&item), 0);
    item.callback = [](yat_device *) { return 7; };
    EXPECT_EQ(yat_ctSetItem1(&item), 0); // whatever the callback says
}

TEST_F(CheckboxTree, SetsAndResetsLeavesAndBranches)
{
    Item leaf{}, branch{}, child{};
    insertSibling(branch.children, 0, &child);
    for (Item *item : {&leaf, &branch})
        for (const auto &[mode, selected] : {std::pair{SetMode::set, 1},
                                             {SetMode::set, 1},
                                             {SetMode::reset, 0},
                                             {SetMode::reset, 0},
                                             {SetMode::toggle, 1},
                                             {SetMode::toggle, 0}}) {
            yat_ctSetItem(tree, item, mode);
            EXPECT_EQ(item->selected, selected);
        }
}

TEST_F(CheckboxTree, TakesTheMappedFlagAsItIs)
{
    newtComponentDestroy(tree);
    tree = yat_newtCheckboxTreeMulti(1, 1, 5, " ", NEWT_FLAG_SCROLL);
    for (const int flag : {1, 0, 1}) {
        yat_ctMapped(tree, flag);
        EXPECT_EQ(tree->isMapped, flag);
    }
}

TEST_F(CheckboxTree, OfAnyHeightAndDepthHoldsTogether)
{
    for (const int height : {0, 1, -3}) {
        newtComponentDestroy(tree);
        tree = yat_newtCheckboxTree(0, 0, height, 0);
        Path path;
        for (int depth = 0; depth < 200; ++depth) {
            path.push_back(NEWT_ARG_APPEND);
            EXPECT_EQ(add("x", depth + 1, path), 0);
            path.back() = 0;
        }
        EXPECT_EQ(pathOf(200).size(), 200u);
        EXPECT_EQ(pathOf(6), Path(6)); // its end fits no less room
        yat_newtCheckboxTreeSetCurrent(tree, 200);
        for (const int key : {NEWT_KEY_UP, NEWT_KEY_PGUP, NEWT_KEY_PGDN, NEWT_KEY_DOWN, int{' '}})
            for (int i = 0; i < 3; ++i)
                yat_ctEvent(tree, {.kind = EV_KEYPRESS, .phase = EV_NORMAL, .u = {.key = key}});
        EXPECT_NE(yat_newtCheckboxTreeGetCurrent(tree), 0);
    }
}
