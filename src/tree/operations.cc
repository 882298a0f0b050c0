// SPDX-License-Identifier: GPL-2.0-or-later
#include "tree/operations.h"

#include <array>
#include <slang.h>

extern "C" const ComponentOperations ctOps = {
    .draw = yat_ctDraw,
    .event = yat_ctEvent,
    .destroy = yat_ctDestroy,
    .place = yat_ctPlace,
    .mapped = yat_ctMapped,
};

namespace {

constexpr int colourCurrent = NEWT_COLORSET_ACTLISTBOX;
constexpr int colourItem = NEWT_COLORSET_BUTTON;
constexpr int colourBlank = NEWT_COLORSET_LISTBOX;
constexpr size_t markedLevels = 8;

const char *treeLine(const Item &item, bool last)
{
    if (!isBranch(&item))
        return last ? "`- " : "|- ";
    if (item.depth == 0)
        return item.selected ? "[-] " : "[+] ";
    if (last)
        return item.selected ? "`- [-] " : "`- [+] ";
    return item.selected ? "|- [-] " : "|- [+] ";
}

// Draws a row. The marks say on which of the item's levels the last of its siblings was passed.
void drawRow(const Item &item, bool last, const std::array<bool, markedLevels> &marks, int width)
{
    if (item.depth >= 1) {
        SLsmg_write_string(const_cast<char *>(" "));
        for (size_t level = 1; level < item.depth; ++level)
            SLsmg_write_string(
                const_cast<char *>(level < markedLevels && marks[level] ? "    " : "|   "));
    }
    SLsmg_write_string(const_cast<char *>(treeLine(item, last)));
    const int room = width - 4 * static_cast<int>(item.depth) - (isBranch(&item) ? 4 : 0);
    if (room > 0)
        SLsmg_write_nstring(const_cast<char *>(textOf(&item)), static_cast<unsigned>(room));
}

void drawBlankRow(int width)
{
    SLsmg_set_color(colourBlank);
    if (width > 0)
        SLsmg_write_nstring(const_cast<char *>(""), static_cast<unsigned>(width));
}

bool handleKey(newtComponent component, int key)
{
    TreeWidget &tree = treeOf(component);
    Item *item = currentItem(tree.model);
    switch (key) {
    case NEWT_KEY_ENTER:
        if (!item)
            return false;
        yat_ctSetItem1(item);
        return true;
    case ' ':
        if (!item)
            return false;
        yat_ctSetItem(component, item, SetMode::toggle);
        return true;
    case NEWT_KEY_UP: return moveCurrent(tree.model, Move::up, rowsOf(component));
    case NEWT_KEY_DOWN: return moveCurrent(tree.model, Move::down, rowsOf(component));
    case NEWT_KEY_PGUP: return moveCurrent(tree.model, Move::pageUp, rowsOf(component));
    case NEWT_KEY_PGDN: return moveCurrent(tree.model, Move::pageDown, rowsOf(component));
    }
    return false;
}

} // namespace

void yat_ctDraw(newtComponent component)
{
    TreeWidget &tree = treeOf(component);
    TreeModel &model = tree.model;
    if (!component->isMapped)
        return;
    if (!model.flatList) {
        rebuildFlatList(model);
        model.current = model.first = 0;
    }
    std::array<bool, markedLevels> marks{};
    newtTrashScreen();

    int row = 0, cursorRow = 0;
    for (; row < component->height && model.flatList[model.first + row]; ++row) {
        const Item &item = *model.flatList[model.first + row];
        const bool last = isLast(model, &item);
        if (item.depth < markedLevels)
            marks[item.depth] = last;
        newtGotorc(component->top + row, component->left);
        const bool isCurrent = model.first + row == model.current;
        if (isCurrent)
            cursorRow = row;
        SLsmg_set_color(isCurrent ? colourCurrent : colourItem);
        drawRow(item, last, marks, component->width);
    }
    for (; row < component->height; ++row) {
        newtGotorc(component->top + row, component->left);
        drawBlankRow(component->width);
    }
    if (tree.scrollbar && component->height > 0) {
        newtScrollbarSet(tree.scrollbar, model.current, model.flatCount - 1);
        tree.scrollbar->ops->draw(tree.scrollbar);
    }
    newtGotorc(component->top + cursorRow, component->left + 1);
}

EventResult yat_ctEvent(newtComponent component, Event event)
{
    EventResult result{.kind = ER_IGNORED, .u = {}};
    if (event.phase != EV_NORMAL)
        return result;
    switch (event.kind) {
    case EV_FOCUS:
    case EV_UNFOCUS:
        yat_ctDraw(component);
        result.kind = ER_SWALLOWED;
        break;
    case EV_KEYPRESS:
        if (handleKey(component, event.u.key))
            yat_ctDraw(component);
        yat_ctDraw(component);
        result.kind = ER_SWALLOWED;
        break;
    case EV_MOUSE: break;
    }
    return result;
}

// The items below the top level and the flat list are left to the process, as are the callers'
// records.
void yat_ctDestroy(newtComponent component)
{
    TreeWidget *tree = &treeOf(component);
    for (const SiblingNode *leaf = firstLeaf(tree->model.items); leaf; leaf = leaf->next)
        for (Item *item : leaf->items)
            freeItem(item);
    delete tree;
    delete component;
}

void yat_ctPlace(newtComponent component, int left, int top)
{
    component->left = left;
    component->top = top;
    if (newtComponent scrollbar = treeOf(component).scrollbar)
        scrollbar->ops->place(scrollbar, left + component->width - 1, top);
}

void yat_ctMapped(newtComponent component, int isMapped)
{
    component->isMapped = isMapped;
    if (newtComponent scrollbar = treeOf(component).scrollbar)
        scrollbar->ops->mapped(scrollbar, isMapped);
}

void yat_ctSetItem(newtComponent component, Item *item, SetMode mode)
{
    setItem(treeOf(component).model, item, mode);
}

int yat_ctSetItem1(Item *item)
{
    if (item->callback)
        item->callback(item->record);
    return 0;
}

void limitCheckboxTree(newtComponent component, int columns, int rows)
{
    TreeWidget &tree = treeOf(component);
    component->width = std::max(std::min(columns, tree.madeWidth), 0);
    component->height = std::max(std::min(rows, tree.madeHeight), 0);
    yat_ctPlace(component, component->left, component->top);
    TreeModel &model = tree.model;
    if (model.flatList)
        showCurrent(model, component->height);
    if (newtComponent scrollbar = tree.scrollbar) {
        // Where its thumb was, out of reach by now, is not to be drawn over any more.
        const int mapped = scrollbar->isMapped;
        scrollbar->ops->mapped(scrollbar, 0);
        scrollbar->height = component->height;
        newtScrollbarSet(scrollbar, 0, 1);
        scrollbar->ops->mapped(scrollbar, mapped);
    }
}
