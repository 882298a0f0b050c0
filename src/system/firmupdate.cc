// SPDX-License-Identifier: GPL-2.0-or-later
#include "system/firmupdate.h"

#include "base/tracing.h"
#include "dialogs/components.h"
#include "dialogs/grid.h"
#include "dialogs/message.h"
#include "dialogs/operation.h"
#include "dialogs/success.h"
#include "dialogs/window.h"
#include "platform/device.h"
#include "text/displaytext.h"

static constexpr char traceSource[] = "firmupdate";

namespace {

// Writes a text that serves as its own format, without arguments: "%%" is a "%". A conversion has
// nothing to convert and is left as it stands.
void formatItself(Question &buffer, const char *format)
{
    std::string result;
    for (const char *from = format; *from; ++from) {
        result += *from;
        if (from[0] == '%' && from[1] == '%')
            ++from;
    }
    copyText(buffer, result.c_str());
}

bool confirm(bool copies)
{
    Question question;
    if (copies)
        formatItself(question, text("LABEL_ONLINETOOFFLINE_ID"));
    else
        copyText(question, text("QUERYWIN_UPDATE_ID"));
    return Message(text("WINDOW_TITLE_FIRMUP_ID"), question.data()) == 1;
}

bool update(yat_device *device, bool copies)
{
    const TextKey name = copies ? TextKey("TITTLE_UPDATECOPY_ID") : TextKey("TITTLE_FILEPATHUP_ID");
    const char *mode = copies ? YAT_BURN_COPY : YAT_BURN_FILE;
    return carryOut(burnFirmware, YAT_SUPPORT_CPU_BURN_FIRMWARE, name, device,
                    [mode] { return mode; });
}

// The method that takes the data file, with the file below it.
Grid makeFileGrid(newtComponent method, newtComponent label, newtComponent file)
{
    return {1,
            3,
            {{0, 0, method, NEWT_ANCHOR_LEFT, {.left = 1}},
             {0, 1, label, NEWT_ANCHOR_LEFT, {.left = 5}},
             {0, 2, file, NEWT_ANCHOR_LEFT, {.left = 5}}}};
}

} // namespace

int FirmUpdate(yat_device *datap)
{
    TRACE(">");
    newtComponent form = newtForm(nullptr, nullptr, 0);
    newtComponent heading = makeLabel(text("TITTLE_UPMETHOD_ID"));
    newtComponent fileLabel = makeLabel(text("DATAFILE_PATH"));
    newtComponent execute = newtButton(-1, -1, text("COMBUTTON_EXCUTE_ID"));
    newtComponent close = newtButton(-1, -1, text("BUTTON_CLOSE2_ID"));
    newtComponent copyMethod = makeRadio(text("TITTLE_UPDATECOPY_ID"), true, nullptr);
    newtComponent fileMethod = makeRadio(text("TITTLE_FILEPATHUP_ID"), false, copyMethod);
    newtComponent file = makeLabel(text("BURN_FILE_DEFAULT"));

    const Grid methodGrid = {
        1,
        2,
        {{0, 0, heading, NEWT_ANCHOR_LEFT}, {0, 1, copyMethod, NEWT_ANCHOR_LEFT, {.left = 1}}}};
    const Grid buttonGrid = {2,
                             1,
                             {{0, 0, execute, NEWT_ANCHOR_LEFT, {.top = 1}},
                              {1, 0, close, NEWT_ANCHOR_RIGHT, {.top = 1}}}};
    const Grid grid = {
        1,
        3,
        {{0, 0, methodGrid, NEWT_ANCHOR_TOP},
         {0, 1, makeFileGrid(fileMethod, fileLabel, file), NEWT_ANCHOR_TOP, {.top = 1}},
         {0, 2, buttonGrid, NEWT_ANCHOR_TOP}}};
    openWindow(form, grid, text("WINDOW_TITLE_FIRMUP_ID"), GridEnd::freed);
    newtFormAddComponents(form, heading, copyMethod, fileMethod, fileLabel, file, execute, close,
                          nullptr);

    runUntilClosed(form, close, [&](newtComponent pressed) {
        // Whatever else ends the form, F12 too, means the data file.
        const bool copies = pressed == execute && newtRadioGetCurrent(copyMethod) == copyMethod;
        if (confirm(copies) && update(datap, copies))
            Success(nameOf(datap).c_str());
    });
    TRACE("<");
    return 0;
}
