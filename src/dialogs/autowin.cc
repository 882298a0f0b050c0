#include "dialogs/autowin.h"

#include "dialogs/grid.h"
#include "dialogs/notice.h"
#include "dialogs/window.h"

#include <algorithm>
#include <cctype>
#include <cstring>

namespace {

newtComponent makeWrappedText(int width, int height, const char *message)
{
    newtComponent textbox = newtTextbox(-1, -1, width, height, NEWT_FLAG_WRAP);
    newtTextboxSetText(textbox, message);
    return textbox;
}

} // namespace

void showNotice(newtComponent form, newtComponent content, newtComponent button, const char *title)
{
    newtGrid contentGrid = makeGrid(1, 1, {{0, 0, content, NEWT_ANCHOR_TOP}});
    newtGrid buttonGrid = makeGrid(1, 1, {{0, 0, button, NEWT_ANCHOR_TOP}});
    newtGrid grid = makeWindowGrid(contentGrid, buttonGrid);
    newtFormAddComponent(form, content);
    newtFormAddComponent(form, button);
    openWindow(form, grid, title);
    addHotKeys(form);
    while (runForm(form) != button)
        continue;
    closeWindow(form);
}

newtComponent showChoice(newtComponent form, newtComponent label, newtComponent left,
                         newtComponent right, const char *title)
{
    newtGrid labelGrid = makeGrid(1, 1, {{0, 0, label, NEWT_ANCHOR_TOP}});
    newtGrid grid = makeWindowGrid(labelGrid, makeButtonRow(left, right));
    newtFormAddComponent(form, label);
    newtFormAddComponents(form, left, right, nullptr);
    openWindow(form, grid, title);
    addHotKeys(form);
    newtComponent answer;
    do
        answer = runForm(form);
    while (answer && answer != left && answer != right);
    closeWindow(form);
    return answer;
}

void msgWindow(const char *title, const char *button, const char *message)
{
    newtComponent form = newtForm(nullptr, nullptr, 0);
    newtComponent label = newtLabel(-1, -1, message);
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
    newtGrid grid = newtCreateGrid(std::max(count, 1), 2);
    setField(grid, {0, 0, content, NEWT_ANCHOR_LEFT});
    newtFormAddComponent(form, content);
    for (int i = 0; i < count; ++i) {
        setField(grid, {i, 1, buttons[i], NEWT_ANCHOR_LEFT, {.top = 1}});
        newtFormAddComponent(form, buttons[i]);
    }
    openWindow(form, grid, title ? title : " ");
    newtFormAddHotKey(form, hotKeyO);
    const newtComponent chosen = runForm(form);
    closeWindow(form);
    return chosen;
}

newtComponent makeLabel(const char *message)
{
    return newtLabel(-1, -1, message ? message : "  ");
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
    return choose(form, makeLabel(message), title, buttons, count);
}

newtComponent SelectFromButtonsEx(const char *title, const char *message, newtComponent *buttons,
                                  int count)
{
    newtComponent form = newtForm(nullptr, nullptr, 0);
    newtComponent content = message ? makeWrappedText(60, 3, message) : makeLabel(nullptr);
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
