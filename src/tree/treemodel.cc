#include "tree/treemodel.h"

#include <algorithm>
#include <newt.h>

namespace {

// The order of a sibling list is a treap: a search tree by position that the items' random
// priorities keep balanced.

int itemsBelow(const Item *item)
{
    return item ? item->below : 0;
}

void updateBelow(Item *item)
{
    item->below = itemsBelow(item->lower) + 1 + itemsBelow(item->upper);
}

Item *itemAt(const SiblingOrder &order, int position)
{
    Item *item = order.root;
    while (item && position != itemsBelow(item->lower)) {
        if (position < itemsBelow(item->lower)) {
            item = item->lower;
        } else {
            position -= itemsBelow(item->lower) + 1;
            item = item->upper;
        }
    }
    return item;
}

// Splits a part of the order before a position.
void split(Item *item, int position, Item **lower, Item **upper)
{
    if (!item) {
        *lower = *upper = nullptr;
        return;
    }
    if (position <= itemsBelow(item->lower)) {
        split(item->lower, position, lower, &item->lower);
        *upper = item;
    } else {
        split(item->upper, position - itemsBelow(item->lower) - 1, &item->upper, upper);
        *lower = item;
    }
    updateBelow(item);
}

void insertAt(Item **place, int position, Item *item)
{
    // Down to where the new item's priority belongs; all on the way get one item more below.
    while (*place && (*place)->priority >= item->priority) {
        Item *above = *place;
        ++above->below;
        if (position <= itemsBelow(above->lower)) {
            place = &above->lower;
        } else {
            position -= itemsBelow(above->lower) + 1;
            place = &above->upper;
        }
    }
    split(*place, position, &item->lower, &item->upper);
    updateBelow(item);
    *place = item;
}

uint32_t nextRandom(TreeModel &model)
{
    uint32_t &x = model.random;
    x ^= x << 13;
    x ^= x >> 17;
    x ^= x << 5;
    return x;
}

// A sibling list: the list of the top level, or of an item's children.
struct List {
    Item **head;
    SiblingOrder *order;
    Item *parent;
};

List childrenOf(TreeModel &model, Item *parent)
{
    return parent ? List{&parent->branch, &parent->children, parent}
                  : List{&model.items, &model.order, nullptr};
}

bool isExpandedBranch(const Item *item)
{
    return item->branch && item->selected;
}

const Item *skipChildren(const Item *item)
{
    while (item && !item->next)
        item = item->parent;
    return item;
}

} // namespace

bool insertItem(TreeModel &model, Item *item, std::span<const int> path)
{
    if (path.empty() || (!model.items && path.size() > 1))
        return false;
    List list = childrenOf(model, nullptr);
    for (size_t i = 0; i + 1 < path.size(); ++i) {
        Item *parent = path[i] < 0 ? nullptr : itemAt(*list.order, path[i]);
        if (!parent)
            return false;
        list = childrenOf(model, parent);
        if (!*list.head && i + 2 < path.size())
            return false;
    }

    const int count = itemsBelow(list.order->root);
    const int position = path.back() < 0 ? count : std::min(path.back(), count);
    Item *next = position < count ? itemAt(*list.order, position) : nullptr;
    item->next = next;
    item->prev = next ? next->prev : list.order->last;
    (item->prev ? item->prev->next : *list.head) = item;
    (next ? next->prev : list.order->last) = item;
    item->parent = list.parent;
    item->depth = static_cast<int>(path.size()) - 1;
    item->priority = nextRandom(model);
    insertAt(&list.order->root, position, item);
    return true;
}

Item *nextItem(const Item *item)
{
    if (item->branch)
        return item->branch;
    item = skipChildren(item);
    return item ? item->next : nullptr;
}

Item *nextVisibleItem(const Item *item)
{
    if (isExpandedBranch(item))
        return item->branch;
    item = skipChildren(item);
    return item ? item->next : nullptr;
}

Item *findItem(const TreeModel &model, intptr_t data)
{
    Item *item = model.items;
    while (item && item->data != data)
        item = nextItem(item);
    return item;
}

int itemPosition(const Item *item)
{
    int position = 0;
    for (; item->prev; item = item->prev)
        ++position;
    return position;
}

int countItems(const TreeModel &model, int state)
{
    int count = 0;
    for (const Item *item = model.items; item; item = nextItem(item))
        if (state == 0 || (!item->branch && item->selected == state))
            ++count;
    return count;
}

void rebuildFlatList(TreeModel &model)
{
    delete[] model.flatList;
    model.flatList = new Item *[static_cast<size_t>(countItems(model, 0)) + 1];
    model.flatCount = 0;
    for (Item *item = model.items; item; item = nextVisibleItem(item))
        model.flatList[model.flatCount++] = item;
    model.flatList[model.flatCount] = nullptr;
}

int flatPosition(const TreeModel &model, const Item *item)
{
    for (int i = 0; i < model.flatCount; ++i)
        if (model.flatList[i] == item)
            return i;
    return -1;
}

void setItem(TreeModel &model, Item *item, SetMode mode)
{
    if (mode != SetMode::toggle)
        item->selected = mode == SetMode::set;
    else if (item->branch)
        item->selected = !item->selected;
    else if (++item->selected >= model.sequence.size())
        item->selected = 0;

    if (!item->branch || !model.flatList)
        return;
    const Item *current = model.flatList[model.current];
    const Item *first = model.flatList[model.first];
    rebuildFlatList(model);
    // What has just been hidden is represented by the branch that hides it.
    const int branch = std::max(flatPosition(model, item), 0);
    const auto positionOf = [&](const Item *wanted) {
        const int position = flatPosition(model, wanted);
        return position >= 0 ? position : branch;
    };
    model.current = positionOf(current);
    model.first = positionOf(first);
}

void makeCurrent(TreeModel &model, Item *item, int height)
{
    for (Item *above = item->parent; above; above = above->parent)
        above->selected = 1;
    rebuildFlatList(model);
    model.current = flatPosition(model, item);
    model.first = model.current - height / 2;
    if (model.first + height > model.flatCount)
        model.first = model.flatCount - height;
    if (model.first < 0)
        model.first = 0;
}

void showCurrent(TreeModel &model, int height)
{
    const int lastFirst = std::max(model.flatCount - height, 0);
    const int lowest = std::min(model.current - height + 1, model.current);
    model.first = std::clamp(model.first, std::max(lowest, 0), std::max(model.current, 0));
    model.first = std::min(model.first, lastFirst);
}

int stateIndex(const TreeModel &model, char state)
{
    if (state == '\0')
        return 0;
    const size_t index = model.sequence.find(state);
    return static_cast<int>(index == std::string::npos ? model.sequence.size() : index);
}

bool moveCurrent(TreeModel &model, Move move, int height)
{
    if (!model.flatList || model.flatCount == 0)
        return false;
    switch (move) {
    case Move::up:
        if (model.current == 0)
            return false;
        --model.current;
        model.first = std::min(model.first, model.current);
        break;
    case Move::down:
        if (model.current == model.flatCount - 1)
            return false;
        ++model.current;
        if (model.current - model.first >= height)
            ++model.first;
        break;
    case Move::pageUp:
        if (model.first - height >= 0) {
            model.current -= height;
            model.first -= height;
        } else {
            model.current = model.first = 0;
        }
        break;
    case Move::pageDown:
        if (model.first + 2 * height <= model.flatCount) {
            // Where the list has grown in between, the current item is below the rows.
            model.current = std::min(model.current + height, model.flatCount - 1);
            model.first += height;
        } else {
            model.current = model.flatCount - 1;
            model.first = std::max(model.flatCount - height, 0);
        }
        break;
    }
    return true;
}

Item *currentItem(const TreeModel &model)
{
    return model.flatList ? model.flatList[model.current] : nullptr;
}
