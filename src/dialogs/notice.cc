// SPDX-License-Identifier: GPL-2.0-or-later
#include "dialogs/notice.h"

#include "dialogs/grid.h"
#include "dialogs/window.h"

void showNotice(newtComponent form, newtComponent content, newtComponent button, const char *title)
{
    const Grid contentGrid = {1, 1, {{0, 0, content, NEWT_ANCHOR_TOP}}};
    const Grid buttonGrid = {1, 1, {{0, 0, button, NEWT_ANCHOR_TOP}}};
    const Grid grid = makeWindowGrid(contentGrid, buttonGrid);
    newtGrid newts = makeNewtGrid(grid);
    newtFormAddComponent(form, content);
    newtFormAddComponent(form, button);
    openWindow(form, grid, newts, title);
    addHotKeys(form);
    while (runForm(form) != button)
        continue;
    closeWindow(form);
}

newtComponent showChoice(newtComponent form, newtComponent label, newtComponent left,
                         newtComponent right, const char *title)
{
    const Grid labelGrid = {1, 1, {{0, 0, label, NEWT_ANCHOR_TOP}}};
    const Grid grid = makeWindowGrid(labelGrid, makeButtonRow(left, right));
    newtGrid newts = makeNewtGrid(grid);
    newtFormAddComponent(form, label);
    newtFormAddComponents(form, left, right, nullptr);
    openWindow(form, grid, newts, title);
    addHotKeys(form);
    newtComponent answer;
    do
        answer = runForm(form);
    while (answer && answer != left && answer != right);
    closeWindow(form);
    return answer;
}
