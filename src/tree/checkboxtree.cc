#include "tree/checkboxtree.h"

#include "text/display.h"

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdlib>
#include <slang.h>
#include <vector>

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

struct CheckboxTree {
    TreeModel model;
    newtComponent scrollbar;
    int curWidth, curHeight; // as newt's widgets have them
    int flags;
    int pad; // columns kept for the scroll bar
    char *result;
    int madeWidth, madeHeight; // where limitCheckboxTree makes them smaller
};

CheckboxTree &treeOf(newtComponent component)
{
    return *static_cast<CheckboxTree *>(component->data);
}

int rowsOf(newtComponent component)
{
    return std::max(component->height, 0);
}

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

bool handleKey(newtComponent component, int key)
{
    CheckboxTree &tree = treeOf(component);
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

newtComponent yat_newtCheckboxTreeMulti(int left, int top, int height, const char *sequence,
                                        int flags)
{
    const bool scrolls = (flags & NEWT_FLAG_SCROLL) != 0;
    auto *tree = new CheckboxTree{.model = {},
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
    CheckboxTree &tree = treeOf(component);
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
    CheckboxTree &tree = treeOf(component);
    if (Item *item = findItem(tree.model, data).item) {
        makeCurrent(tree.model, item, rowsOf(component));
        yat_ctDraw(component);
    }
}

int yat_newtCheckboxTreeGetEntryValue(newtComponent component, intptr_t data)
{
    const Item *item = component ? findItem(treeOf(component).model, data).item : nullptr;
    if (!item)
        return -1;
    if (isBranch(item))
        return item->selected ? 1 : 0;
    const std::string &sequence = treeOf(component).model.sequence;
    return item->selected < sequence.size() ? sequence[item->selected] : 0;
}

void yat_newtCheckboxTreeSetEntryValue(newtComponent component, intptr_t data, char state)
{
    CheckboxTree &tree = treeOf(component);
    Item *item = findItem(tree.model, data).item;
    const size_t index = tree.model.sequence.find(state);
    if (!item || isBranch(item) || index == std::string::npos)
        return;
    item->selected = static_cast<unsigned char>(index);
    yat_ctDraw(component);
}

void yat_ctDraw(newtComponent component)
{
    CheckboxTree &tree = treeOf(component);
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
    CheckboxTree *tree = &treeOf(component);
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
    CheckboxTree &tree = treeOf(component);
    component->width = std::max(std::min(columns, tree.madeWidth), 0);
    component->height = std::max(std::min(rows, tree.madeHeight), 0);
    yat_ctPlace(component, component->left, component->top);
    TreeModel &model = tree.model;
    if (model.flatList)
        showCurrent(model, component->height);
    if (newtComponent scrollbar = tree.scrollbar) {
        // Where its thumb was is not to be drawn over any more.
        const int mapped = scrollbar->isMapped;
        scrollbar->ops->mapped(scrollbar, 0);
        scrollbar->height = component->height;
        newtScrollbarSet(scrollbar, std::max(model.current, 0), std::max(model.flatCount - 1, 1));
        scrollbar->ops->mapped(scrollbar, mapped);
    }
}
