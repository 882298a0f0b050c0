// SPDX-License-Identifier: GPL-2.0-or-later
#include "dialogs/autowin.h"

#include "dialogs/components.h"
#include "dialogs/grid.h"
#include "dialogs/notice.h"
#include "dialogs/window.h"

#include <algorithm>
#include <cctype>
#include <cstring>

namespace {

constexpr char noText[] = "  ";

newtComponent makeWrappedText(int width, int height, const char *message)
{
    newtComponent textbox = makeTextbox(width, height, NEWT_FLAG_WRAP);
    setText(textbox, message);
    return textbox;
}

} // namespace

void msgWindow(const char *title, const char *button, const char *message)
{
    newtComponent form = newtForm(nullptr, nullptr, 0);
    newtComponent label = makeLabel(message);
    showNotice(form, label, newtButton(-1, -1, button), title);
}

void msgWindowEx(const char *title, const char *button, const char *message)
{
    constexpr int width = 72;
    const int height = static_cast<int>(strlen(message)) / width + 1;
    newtComponent form = newtForm(nullptr, nullptr, 0);
    newtComponent textbox = makeWrappedText(width, height, message);
    showNotice(form, textbox, newtButton(-1, -1, button), title);
}

namespace {

newtComponent choose(newtComponent form, newtComponent content, const char *title,
                     newtComponent *buttons, int count)
{
    Grid grid = {std::max(count, 1), 2, {{0, 0, content, NEWT_ANCHOR_LEFT}}};
    for (int i = 0; i < count; ++i)
        grid.cells.push_back({i, 1, buttons[i], NEWT_ANCHOR_LEFT, {.top = 1}});
    newtGrid newts = makeNewtGrid(grid);
    newtFormAddComponent(form, content);
    for (int i = 0; i < count; ++i)
        newtFormAddComponent(form, buttons[i]);
    openWindow(form, grid, newts, title ? title : " ");
    newtFormAddHotKey(form, hotKeyO);
    const newtComponent chosen = runForm(form);
    closeWindow(form);
    return chosen;
}

using SetFlags = void (*)(newtComponent, int, newtFlagsSense);

void greyOut(const FieldControl &control, SetFlags setFlags)
{
    if (!control.components || !control.state)
        return;
    const newtFlagsSense sense = *control.state == ' ' ? NEWT_FLAGS_SET : NEWT_FLAGS_RESET;
    for (int i = control.first; i <= control.last; ++i)
        setFlags(control.components[i], NEWT_FLAG_DISABLED, sense);
}

} // namespace

newtComponent SelectFromButtons(const char *title, const char *message, newtComponent *buttons,
                                int count)
{
    newtComponent form = newtForm(nullptr, nullptr, 0);
    return choose(form, makeLabel(message ? message : noText), title, buttons, count);
}

newtComponent SelectFromButtonsEx(const char *title, const char *message, newtComponent *buttons,
                                  int count)
{
    newtComponent form = newtForm(nullptr, nullptr, 0);
    newtComponent content = message ? makeWrappedText(60, 3, message) : makeLabel(noText);
    return choose(form, content, title, buttons, count);
}

FieldControl CheckStruct;
FieldControl CheckboxStruct;

void CheckButtonFunc(newtComponent, void *)
{
    greyOut(CheckStruct, newtEntrySetFlags);
}

void CheckBoxFunc(newtComponent, void *)
{
    greyOut(CheckboxStruct, newtCheckboxSetFlags);
}

int EntryNumricFilter(newtComponent, void *, int key, int)
{
    switch (key) {
    case '-':
    case NEWT_KEY_UP:
    case NEWT_KEY_DOWN:
    case NEWT_KEY_LEFT:
    case NEWT_KEY_RIGHT:
    case NEWT_KEY_BKSPC:
    case NEWT_KEY_DELETE:
    case NEWT_KEY_HOME:
    case NEWT_KEY_END: return key;
    }
    return key >= 0 && key <= 255 && isdigit(key) ? key : 0;
}
