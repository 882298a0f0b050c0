// SPDX-License-Identifier: GPL-2.0-or-later
#include "tree/checkboxtree.h"

#include "text/displaytext.h"
#include "tree/operations.h"

#include <algorithm>
#include <cstdarg>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

intptr_t *collectLeaves(const TreeModel &model, int *count, int state)
{
    const int room = countItems(model, state ? state : 1);
    *count = 0;
    if (room == 0)
        return nullptr;
    auto *list = static_cast<intptr_t *>(malloc(static_cast<size_t>(room) * sizeof(intptr_t)));
    for (Walk walk(model.items); list && walk.item && *count < room; walk.next()) {
        const int itemState = static_cast<int>(walk.item->selected);
        if (!isBranch(walk.item) && (state ? itemState == state : itemState != 0))
            list[(*count)++] = walk.item->data;
    }
    return list;
}

} // namespace

newtComponent yat_newtCheckboxTreeMulti(int left, int top, int height, const char *sequence,
                                        int flags)
{
    const bool scrolls = (flags & NEWT_FLAG_SCROLL) != 0;
    auto *tree = new TreeWidget{.model = {},
                                .scrollbar = nullptr,
                                .curWidth = 0,
                                .curHeight = 0,
                                .flags = flags,
                                .pad = scrolls ? 2 : 0,
                                .result = nullptr,
                                .madeWidth = 0,
                                .madeHeight = height};
    tree->model.sequence = sequence ? sequence : " *";
    if (scrolls)
        tree->scrollbar = newtVerticalScrollbar(left, top, height, NEWT_COLORSET_LISTBOX,
                                                NEWT_COLORSET_ACTLISTBOX);
    return new newtComponent_struct{.height = height,
                                    .width = 0,
                                    .top = top,
                                    .left = left,
                                    .takesFocus = 1,
                                    .isMapped = 0,
                                    .ops = &ctOps,
                                    .callback = nullptr,
                                    .callbackData = nullptr,
                                    .destroyCallback = nullptr,
                                    .destroyCallbackData = nullptr,
                                    .data = tree};
}

newtComponent yat_newtCheckboxTree(int left, int top, int height, int flags)
{
    return yat_newtCheckboxTreeMulti(left, top, height, nullptr, flags);
}

int yat_newtCheckboxTreeAddItem(newtComponent component, const char *text, intptr_t data, int flags,
                                ItemCallback callback, yat_device *record, int index, ...)
{
    std::vector<int> path;
    va_list rest;
    va_start(rest, index);
    for (int position = index; position != NEWT_ARG_LAST; position = va_arg(rest, int))
        path.push_back(position);
    va_end(rest);
    path.push_back(NEWT_ARG_LAST);

    return yat_newtCheckboxTreeAddArray(component, displayText(text).c_str(), data, callback,
                                        record, flags, path.data());
}

int yat_newtCheckboxTreeAddArray(newtComponent component, const char *text, intptr_t data,
                                 ItemCallback callback, yat_device *record, int flags,
                                 const int *path)
{
    TreeWidget &tree = treeOf(component);
    const int *end = path;
    while (*end != NEWT_ARG_LAST)
        ++end;
    const std::string shown = showable(text ? text : "");
    Item *item = makeItem(shown);
    item->data = data;
    item->callback = callback;
    item->record = record;
    item->selected = (flags & NEWT_FLAG_SELECTED) != 0;
    item->flags = flags;
    if (!insertItem(tree.model, item, {path, end})) {
        freeItem(item);
        return -1;
    }
    // The drawing indents by 4 columns a level; 5 leave some to spare.
    const int width = textWidth(shown.c_str()) + 4 + 5 * static_cast<int>(item->depth) + tree.pad;
    component->width = tree.madeWidth = std::max(width, tree.madeWidth);
    return 0;
}

int *yat_newtCheckboxTreeFindItem(newtComponent component, intptr_t data)
{
    const Walk found = findItem(treeOf(component).model, data);
    if (!found.item)
        return nullptr;
    const size_t levels = found.places.size();
    int *path = static_cast<int *>(malloc((levels + 1) * sizeof(int)));
    if (!path)
        return nullptr;
    path[levels] = NEWT_ARG_LAST;
    for (size_t i = 0; i < levels; ++i)
        path[i] = found.places[i].position();
    return path;
}

intptr_t *yat_newtCheckboxTreeGetSelection(newtComponent component, int *count)
{
    return yat_newtCheckboxTreeGetMultiSelection(component, count, 0);
}

intptr_t *yat_newtCheckboxTreeGetMultiSelection(newtComponent component, int *count, char state)
{
    if (count)
        *count = 0;
    if (!component || !count)
        return nullptr;
    const TreeModel &model = treeOf(component).model;
    return collectLeaves(model, count, stateIndex(model, state));
}

intptr_t yat_newtCheckboxTreeGetCurrent(newtComponent component)
{
    const Item *item = currentItem(treeOf(component).model);
    return item ? item->data : 0;
}

void yat_newtCheckboxTreeSetCurrent(newtComponent component, intptr_t data)
{
    TreeWidget &tree = treeOf(component);
    if (Item *item = findItem(tree.model, data).item) {
        makeCurrent(tree.model, item, rowsOf(component));
        yat_ctDraw(component);
    }
}

int yat_newtCheckboxTreeGetEntryValue(newtComponent component, intptr_t data)
{
    if (!component)
        return -1;
    const Item *item = findItem(treeOf(component).model, data).item;
    if (!item)
        return -1;
    if (isBranch(item))
        return item->selected ? 1 : 0;
    const std::string &sequence = treeOf(component).model.sequence;
    return item->selected < sequence.size() ? sequence[item->selected] : 0;
}

void yat_newtCheckboxTreeSetEntryValue(newtComponent component, intptr_t data, char state)
{
    TreeWidget &tree = treeOf(component);
    Item *item = findItem(tree.model, data).item;
    const size_t index = tree.model.sequence.find(state);
    if (!item || isBranch(item) || index == std::string::npos)
        return;
    item->selected = static_cast<unsigned char>(index);
    yat_ctDraw(component);
}
