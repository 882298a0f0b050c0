// SPDX-License-Identifier: GPL-2.0-or-later
#include "system/fmupdate.h"

#include "base/tracing.h"
#include "dialogs/autowin.h"
#include "dialogs/components.h"
#include "dialogs/grid.h"
#include "dialogs/window.h"

static constexpr char traceSource[] = "fmupdate";

int FMUpdate(yat_device *)
{
    TRACE(">");
    Question question;
    copyText(question, text("QUERYWIN_UPDATE_ID"));
    newtComponent form = newtForm(nullptr, nullptr, 0);
    newtComponent label = makeLabel(text("LABEL_UPFILEPATH_ID"));
    newtComponent execute = newtButton(-1, -1, text("COMBUTTON_EXCUTE_ID"));
    newtComponent close = newtButton(-1, -1, text("BUTTON_CLOSE2_ID"));
    newtComponent path =
        newtEntry(-1, -1, "", 22, nullptr, NEWT_FLAG_SCROLL | NEWT_FLAG_RETURNEXIT);
    const Grid fieldGrid = {
        1, 2, {{0, 0, label, NEWT_ANCHOR_LEFT}, {0, 1, path, NEWT_ANCHOR_LEFT}}};
    const Grid grid = makeWindowGrid(fieldGrid, makeButtonRow(execute, close));
    openWindow(form, grid, text("WINDOW_TITLE_FIRMUP_ID"), GridEnd::freed);
    newtFormAddComponents(form, label, path, execute, close, nullptr);
    runUntilClosed(form, close, [&](newtComponent pressed) {
        if (pressed == execute)
            showError("BURNFIRMSUPPORT_ERR_ID");
    });
    TRACE("<");
    return 0;
}
