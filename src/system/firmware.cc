// SPDX-License-Identifier: GPL-2.0-or-later
#include "system/firmware.h"

#include "base/tracing.h"
#include "dialogs/autowin.h"
#include "dialogs/busyline.h"
#include "dialogs/components.h"
#include "dialogs/grid.h"
#include "dialogs/notice.h"
#include "dialogs/window.h"
#include "terminal/lending.h"
#include "yat/hwinfo.h"
#include "yat/winshim.h"

#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>

static constexpr char traceSource[] = "firmware";

namespace {

constexpr char updateProgram[] = "/usr/bmcfwupd/bmcfwupm";

// Asks the plug-in for the device id, 16 bytes with the completion code first.
bool askForDeviceId(void *plugin, unsigned char *response)
{
    constexpr char function[] = "Get_BMC_FWRevision";
    if (!plugin) {
        TRACE_AS(YAT_TRACE_ERROR, function, "load yathwinfo.dll error : %s", dlerror());
        return false;
    }
    const auto getDeviceId =
        reinterpret_cast<decltype(YATGetDeviceID) *>(GetProcAddress(plugin, "YATGetDeviceID"));
    if (!getDeviceId) {
        TRACE_AS(YAT_TRACE_ERROR, function, "get function pointer of YatGetDeviceID error : %s",
                 dlerror());
        return false;
    }
    if (getDeviceId(response) != 1) {
        TRACE_AS(YAT_TRACE_ERROR, function, "YatGetDeviceID returns FALSE!");
        return false;
    }
    return true;
}

// Runs the update program with the screen out of its way. Compared below is what system returns
// as it is, a wait status: a shell that does not find the program ends with exit code 127, which
// is not 127 there.
void update()
{
    Question message{};
    lendTerminal();
    const int result = system(updateProgram);
    reclaimTerminal();
    if (result == 127 || result == -1)
        copyText(message, text("UPDATE_ERROR_ID"));
    else if (result != 0)
        copyText(message, text("UPDATE_NOTFOUND_ID"));
    if (result != 0)
        Entrance(text("WINDOW_TITLE_FIRMWARE_ID"), message.data());
}

newtComponent makeRevisionBox()
{
    newtComponent box = makeTextbox(30, 1, 0);
    const Waiting waiting(text("WINDOW_TITLE_FIRMWARE_ID"));
    char revision[1024] = {};
    if (Get_BMC_FWRevision(revision) == 0)
        replaceUnreadable(revision, "FW_REVISION__FAIL");
    setText(box, revision);
    return box;
}

} // namespace

int Get_BMC_FWRevision(char *bmcrev)
{
    TRACE(">");
    if (!bmcrev) {
        TRACE_ERROR("<[IN]param error.bmcrev is NULL.");
        return 0;
    }
    TRACE("[IN]bmcrev=%p", static_cast<void *>(bmcrev));
    char root[4096] = {}, path[4096 + 32] = {};
    GetYatRootPath(root, sizeof root);
    snprintf(path, sizeof path, "%s/lib/%s", root, "yathwinfo.dll");
    void *plugin = LoadLibrary(path);
    unsigned char response[16] = {};
    const bool answered = askForDeviceId(plugin, response);
    if (answered) {
        snprintf(bmcrev, 6, "%02X.%01X%01X", response[3] & 0x7F, response[4] >> 4,
                 response[4] & 0x0F);
        TRACE("[OUT]Firmware Revision : %s.", bmcrev);
    }
    if (plugin)
        FreeLibrary(plugin);
    TRACE("<");
    return answered ? 1 : 0;
}

void Firmware(void)
{
    TRACE(">");
    newtComponent revisionLabel = makeLabel(text("FIRMWARE_REVISION"));
    newtComponent revision = makeRevisionBox();
    newtComponent form = newtForm(nullptr, nullptr, 0);
    newtComponent close = newtButton(-1, -1, text("BUTTON_CLOSE_ID"));
    newtComponent updateLabel = makeLabel(text("LABEL_FIRMUPDATE_ID"));
    newtComponent updateButton = newtCompactButton(-1, -1, text("COMBUTTON_UPDATE_ID"));

    const Grid updateGrid = {2,
                             1,
                             {{0, 0, updateLabel, NEWT_ANCHOR_LEFT},
                              {1, 0, updateButton, NEWT_ANCHOR_RIGHT, {.left = 15}}}};
    const Grid revisionGrid = {
        2,
        1,
        {{0, 0, revisionLabel, NEWT_ANCHOR_LEFT}, {1, 0, revision, NEWT_ANCHOR_LEFT, {.left = 1}}}};
    const Grid grid = {1,
                       3,
                       {{0, 0, updateGrid, NEWT_ANCHOR_TOP},
                        {0, 1, revisionGrid, NEWT_ANCHOR_LEFT, {.left = 2}},
                        {0, 2, close, NEWT_ANCHOR_TOP, {.top = 1}}}};
    openWindow(form, grid, text("WINDOW_TITLE_FIRMWARE_ID"));
    newtFormAddComponents(form, updateLabel, updateButton, revisionLabel, revision, close, nullptr);
    runUntilClosed(form, close, [&](newtComponent pressed) {
        if (pressed == updateButton)
            update();
    });
    TRACE("<");
}

void Entrance(const char *title, const char *message)
{
    TRACE(">");
    newtComponent form = newtForm(nullptr, nullptr, 0);
    newtComponent label = makeLabel(message);
    newtComponent ok = newtButton(-1, -1, "  ok  ");
    newtComponent cancel = newtButton(-1, -1, "cancel");
    showChoice(form, label, ok, cancel, title);
    TRACE("<");
}
