#include "dialogs/autowin.h"
#include "dialogs/grid.h"
#include "dialogs/window.h"

int Message(const char *title, const char *message)
{
    Question ownTitle; // the title may be the text that the lookups below replace
    copyText(ownTitle, title);

    newtComponent form = newtForm(nullptr, nullptr, 0);
    newtComponent label = newtLabel(-1, -1, message);
    newtComponent ok = newtButton(-1, -1, text("BUTTON_OK_ID"));
    newtComponent cancel = newtButton(-1, -1, text("BUTTON_CANCEL_ID"));
    newtGrid labelGrid = makeGrid(1, 1, {{0, 0, label, NEWT_ANCHOR_TOP}});
    newtGrid buttonGrid = makeGrid(
        2, 1, {{0, 0, ok, NEWT_ANCHOR_LEFT}, {1, 0, cancel, NEWT_ANCHOR_RIGHT}});
    newtGrid grid = makeGrid(1, 2,
                             {{0, 0, labelGrid, NEWT_ANCHOR_TOP},
                              {0, 1, buttonGrid, NEWT_ANCHOR_TOP, {.top = 1}}});
    newtFormAddComponent(form, label);
    newtFormAddComponents(form, ok, cancel, nullptr);
    openWindow(form, grid, ownTitle.data());
    addHotKeys(form);

    newtComponent answer;
    do
        answer = runForm(form);
    while (answer && answer != ok && answer != cancel);
    closeWindow(form);
    return answer == ok ? 1 : 0;
}
