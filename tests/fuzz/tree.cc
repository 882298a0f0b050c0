// SPDX-License-Identifier: GPL-2.0-or-later
// The checkbox tree: each byte an operation, with its arguments behind it.
#include "fuzz.h"

#include "tree/checkboxtree.h"
#include "tree/operations.h"

#include <algorithm>
#include <clocale>
#include <slang.h>
#include <vector>

namespace {

int called;

int callback(yat_device *)
{
    return ++called;
}

// A screen that is drawn on and never shown.
bool makeScreen()
{
    setlocale(LC_ALL, "C.UTF-8");
    setenv("TERM", "vt100", 1);
    SLtt_get_terminfo();
    SLtt_Screen_Rows = 24;
    SLtt_Screen_Cols = 80;
    return SLsmg_init_smg() != -1;
}

// The model is the first part of what the widget has; what its destruction leaves allocated, and
// the order of the items, can only be seen there.
TreeModel &modelOf(newtComponent tree)
{
    return *static_cast<TreeModel *>(tree->data);
}

std::vector<Item *> itemsOf(newtComponent tree)
{
    std::vector<Item *> items;
    for (Walk walk(modelOf(tree).items); walk.item; walk.next())
        items.push_back(walk.item);
    return items;
}

void destroy(newtComponent tree)
{
    std::vector<Item *> items = itemsOf(tree);
    std::erase_if(items, [](const Item *item) { return !item->parent; });
    Item **flatList = modelOf(tree).flatList;
    newtComponentDestroy(tree);
    for (Item *item : items)
        freeItem(item);
    delete[] flatList;
}

std::vector<int> readPath(Input &input)
{
    std::vector<int> path;
    for (unsigned length = input.byte() % 12; length > 0; --length) {
        const auto position = static_cast<int8_t>(input.byte());
        path.push_back(position);
    }
    path.push_back(NEWT_ARG_LAST);
    return path;
}

void add(newtComponent tree, Input &input, intptr_t data)
{
    const std::vector<int> path = readPath(input);
    const std::string text = input.upTo('\n');
    const size_t before = itemsOf(tree).size();
    const int flags = input.byte() % 2 ? NEWT_FLAG_SELECTED : 0;
    const bool added = yat_newtCheckboxTreeAddArray(tree, text.c_str(), data, callback, nullptr,
                                                    flags, path.data())
                       == 0;
    REQUIRE(itemsOf(tree).size() == before + (added ? 1 : 0));
    int *found = yat_newtCheckboxTreeFindItem(tree, data);
    REQUIRE((found != nullptr) == added);
    // It stands where it was wanted, or at the end of that list; a negative number takes no step.
    for (size_t i = 0; found && i + 2 < path.size(); ++i)
        REQUIRE(found[i] == std::max(path[i], 0));
    if (const size_t last = path.size() - 2; found && path[last] != NEWT_ARG_APPEND)
        REQUIRE(found[last] <= std::max(path[last], 0));
    free(found);
}

void press(newtComponent tree, Input &input)
{
    static constexpr int keys[] = {NEWT_KEY_UP, NEWT_KEY_DOWN,  NEWT_KEY_PGUP, NEWT_KEY_PGDN,
                                   ' ',         NEWT_KEY_ENTER, NEWT_KEY_F12};
    const Event event{.kind = EV_KEYPRESS,
                      .phase = EV_NORMAL,
                      .u = {.key = keys[input.byte() % std::size(keys)]}};
    REQUIRE(tree->ops->event(tree, event).kind == ER_SWALLOWED);
}

void focus(newtComponent tree, Input &input)
{
    const unsigned kind = input.byte();
    const Event event{.kind = static_cast<EventKind>(kind % 2),
                      .phase = static_cast<EventPhase>(kind / 2 % 3),
                      .u = {.key = 0}};
    REQUIRE((tree->ops->event(tree, event).kind == ER_SWALLOWED) == (event.phase == EV_NORMAL));
}

void select(newtComponent tree, Input &input)
{
    int count = -1;
    intptr_t *list =
        yat_newtCheckboxTreeGetMultiSelection(tree, &count, static_cast<char>(input.byte()));
    REQUIRE((list != nullptr) == (count > 0));
    for (int i = 0; i < count; ++i)
        REQUIRE(list[i] != 0);
    free(list);
}

void operate(newtComponent tree, Input &input, intptr_t &lastData)
{
    switch (input.byte() % 12) {
    case 0:
    case 1:
    case 2: return add(tree, input, ++lastData);
    case 3:
    case 4: return press(tree, input);
    case 5: return focus(tree, input);
    case 6: return yat_newtCheckboxTreeSetCurrent(tree, static_cast<int>(input.byte()));
    case 7: {
        const unsigned data = input.byte();
        return yat_newtCheckboxTreeSetEntryValue(tree, data, static_cast<char>(input.byte()));
    }
    case 8: return select(tree, input);
    case 9: {
        const auto columns = static_cast<int8_t>(input.byte());
        return limitCheckboxTree(tree, columns, static_cast<int8_t>(input.byte()));
    }
    case 10: return tree->ops->mapped(tree, input.byte() % 2);
    case 11: {
        const auto left = static_cast<int8_t>(input.byte());
        return tree->ops->place(tree, left, static_cast<int8_t>(input.byte()));
    }
    }
}

void check(newtComponent tree)
{
    const TreeModel &model = modelOf(tree);
    const std::vector<Item *> items = itemsOf(tree);
    for (const Item *item : items) {
        REQUIRE(item->depth == (item->parent ? item->parent->depth + 1 : 0));
        const int value = yat_newtCheckboxTreeGetEntryValue(tree, item->data);
        REQUIRE(value >= -128 && value <= 255);
    }
    if (!model.flatList)
        return;
    REQUIRE(model.flatCount <= static_cast<int>(items.size()));
    REQUIRE(model.current >= 0 && model.current <= std::max(model.flatCount - 1, 0));
    REQUIRE(model.first >= 0 && model.first <= std::max(model.flatCount - 1, 0));
    REQUIRE(model.flatList[model.flatCount] == nullptr);
}

} // namespace

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static const bool hasScreen = makeScreen();
    REQUIRE(hasScreen);
    Input input(data, std::min<size_t>(size, 1000));
    const unsigned kind = input.byte();
    const auto height = static_cast<int8_t>(input.byte());
    const std::string sequence = input.upTo('\n');
    newtComponent tree =
        yat_newtCheckboxTreeMulti(0, 0, height, sequence.empty() ? nullptr : sequence.c_str(),
                                  kind % 2 ? NEWT_FLAG_SCROLL : 0);
    tree->ops->mapped(tree, kind / 2 % 2);
    intptr_t lastData = 0;
    while (!input.empty()) {
        operate(tree, input, lastData);
        check(tree);
    }
    destroy(tree);
    return 0;
}
