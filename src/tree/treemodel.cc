// SPDX-License-Identifier: GPL-2.0-or-later
#include "tree/treemodel.h"

#include <algorithm>
#include <climits>
#include <new>
#include <newt.h>

Item *makeItem(std::string_view text)
{
    char *memory = static_cast<char *>(::operator new(sizeof(Item) + text.size() + 1));
    char *copy = memory + sizeof(Item);
    copy[text.copy(copy, text.size())] = '\0';
    return new (memory) Item{};
}

void freeItem(Item *item)
{
    item->~Item();
    ::operator delete(item);
}

bool isLast(const TreeModel &model, const Item *item)
{
    return lastSibling(item->parent ? item->parent->children : model.items) == item;
}

bool insertItem(TreeModel &model, Item *item, std::span<const int> path)
{
    if (path.empty())
        return false;
    Siblings *list = &model.items;
    Item *parent = nullptr;
    for (const int position : path.first(path.size() - 1)) {
        parent = position == NEWT_ARG_APPEND ? nullptr : siblingAt(*list, std::max(position, 0));
        if (!parent)
            return false;
        list = &parent->children;
    }
    item->parent = parent;
    item->depth = static_cast<unsigned>(path.size() - 1) & 0xFFFFFF;
    insertSibling(*list, path.back() == NEWT_ARG_APPEND ? INT_MAX : std::max(path.back(), 0), item);
    return true;
}

static Walk::Place beginningOf(const SiblingNode *leaf, int before)
{
    Item *const *items = leaf->items.data();
    return {leaf, items, items + leaf->items.size(), before};
}

static void enter(Walk &walk, const Siblings &list)
{
    walk.places.push_back(beginningOf(firstLeaf(list), 0));
    walk.item = *walk.places.back().at;
}

// To the next item that is not below this one.
static void pass(Walk &walk)
{
    while (!walk.places.empty()) {
        Walk::Place &place = walk.places.back();
        if (++place.at == place.end && place.leaf->next)
            place = beginningOf(place.leaf->next, place.position());
        if (place.at != place.end) {
            walk.item = *place.at;
            return;
        }
        walk.places.pop_back();
    }
    walk.item = nullptr;
}

Walk::Walk(const Siblings &list)
{
    if (list.root)
        enter(*this, list);
}

void Walk::next()
{
    isBranch(item) ? enter(*this, item->children) : pass(*this);
}

void Walk::nextVisible()
{
    isBranch(item) && item->selected ? enter(*this, item->children) : pass(*this);
}

Walk findItem(const TreeModel &model, intptr_t data)
{
    Walk walk(model.items);
    while (walk.item && walk.item->data != data)
        walk.next();
    return walk;
}

int countItems(const TreeModel &model, int state)
{
    int count = 0;
    for (Walk walk(model.items); walk.item; walk.next())
        if (state == 0 || (!isBranch(walk.item) && static_cast<int>(walk.item->selected) == state))
            ++count;
    return count;
}

void rebuildFlatList(TreeModel &model)
{
    delete[] model.flatList;
    model.flatList = new Item *[static_cast<size_t>(countItems(model, 0)) + 1];
    model.flatCount = 0;
    for (Walk walk(model.items); walk.item; walk.nextVisible())
        model.flatList[model.flatCount++] = walk.item;
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
    else if (isBranch(item))
        item->selected = !item->selected;
    else
        item->selected = item->selected + 1u < model.sequence.size() ? item->selected + 1u : 0u;

    if (!isBranch(item) || !model.flatList)
        return;
    const Item *current = model.flatList[model.current];
    const Item *first = model.flatList[model.first];
    rebuildFlatList(model);
    // What has just been hidden is represented by the branch that hides it.
    const int branch = flatPosition(model, item);
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
    const int lastFirst = std::max(model.flatCount - height, 0);
    model.first = std::clamp(model.current - height / 2, 0, lastFirst);
}

void showCurrent(TreeModel &model, int height)
{
    const int lastFirst = std::max(model.flatCount - height, 0);
    const int lowest = std::min(model.current - height + 1, model.current);
    model.first = std::clamp(model.first, std::max(lowest, 0), model.current);
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
