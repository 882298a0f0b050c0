#include "dialogs/autowin.h"

#include "dialogs/grid.h"
#include "dialogs/notice.h"
#include "dialogs/window.h"

#include <cstring>

void showNotice(newtComponent form, newtComponent content, newtComponent button, const char *title)
{
    newtGrid contentGrid = makeGrid(1, 1, {{0, 0, content, NEWT_ANCHOR_TOP}});
    newtGrid buttonGrid = makeGrid(1, 1, {{0, 0, button, NEWT_ANCHOR_TOP}});
    newtGrid grid = makeGrid(1, 2,
                             {{0, 0, contentGrid, NEWT_ANCHOR_TOP},
                              {0, 1, buttonGrid, NEWT_ANCHOR_TOP, {.top = 1}}});
    newtFormAddComponent(form, content);
    newtFormAddComponent(form, button);
    openWindow(form, grid, title);
    addHotKeys(form);
    while (runForm(form) != button)
        continue;
    closeWindow(form);
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
    newtComponent textbox = newtTextbox(-1, -1, width, height, NEWT_FLAG_WRAP);
    newtTextboxSetText(textbox, message);
    showNotice(form, textbox, newtButton(-1, -1, button), title);
}
