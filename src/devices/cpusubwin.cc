// SPDX-License-Identifier: GPL-2.0-or-later
// The window of a CPU module, and the view of its BIOS data.
#include "devices/cpusubwin.h"

#include "devices/actions.h"
#include "dialogs/autowin.h"
#include "dialogs/busyline.h"
#include "dialogs/components.h"
#include "dialogs/window.h"
#include "platform/device.h"
#include "platform/property.h"
#include "system/firmupdate.h"

static constexpr char traceSource[] = "cpusubwin";

namespace {

enum Part {
    closeButton,
    mtbfLabel,
    startLabel,
    diagnoseLabel,
    firmwareLabel,
    boardLabel,
    dumpLabel,
    mtbfTypeLabel,
    stateLabel,
    stateBox,
    dumpTime1,
    dumpTime2,
    clearButton,
    stopButton,
    startButton,
    diagnoseButton,
    updateButton,
    changeButton,
    executeButton,
    refreshButton,
    versionButton,
    setMtbfTypeButton,
    typeRadio1,
    typeRadio2,
    typeRadio3,
};

constexpr Component components[] = {
    {closeButton, Widget::button, "BUTTON_CLOSE_ID"},
    {mtbfLabel, Widget::label, "LABEL_MTBF_ID"},
    {startLabel, Widget::label, "LABEL_CPUSTART_ID"},
    {diagnoseLabel, Widget::label, "LABEL_CPUDIAG_ID"},
    {firmwareLabel, Widget::label, "LABEL_FIRMWARE_UP_ID"},
    {boardLabel, Widget::label, "LABEL_BOARD_ID"},
    {dumpLabel, Widget::label, "LABEL_DUMP_ID"},
    {mtbfTypeLabel, Widget::label, "LABEL_MTBFTYPE_ID"},
    {stateLabel, Widget::label, "LABEL_CPUSTATE_ID"},
    {stateBox, Widget::stateBox},
    {dumpTime1, Widget::firstRadio, "LABEL_DUMPTIME_ID"},
    {dumpTime2, Widget::nextRadio, "LABEL_DUMPTIME2_ID"},
    {clearButton, Widget::compactButton, "COMBUTTON_CLEAR_ID"},
    {stopButton, Widget::compactButton, "COMBUTTON_STOP_ID"},
    {startButton, Widget::compactButton, "COMBUTTON_START_ID"},
    {diagnoseButton, Widget::compactButton, "COMBUTTON_DIAGNOSE_ID"},
    {updateButton, Widget::compactButton, "COMBUTTON_UPDATE_ID"},
    {changeButton, Widget::compactButton, "COMBUTTON_CHANGE_ID"},
    {executeButton, Widget::compactButton, "COMBUTTON_EXCUTE_ID"},
    {refreshButton, Widget::button, "COMBUTTON_REFRESH_ID"},
    {versionButton, Widget::compactButton, "VERSION_INFO"},
    {setMtbfTypeButton, Widget::compactButton, "COMBUTTON_SETMTBFTYPE_ID"},
};

constexpr Row rows[] = {
    {2, 1, {{0, 0, mtbfLabel, left}, {1, 0, clearButton, right}}},
    {2, 1, {{0, 0, mtbfTypeLabel, left, {.top = 1}}, {1, 0, setMtbfTypeButton, right, {.top = 1}}}},
    alone(typeRadio1, left, {.left = 1}),
    alone(typeRadio2, left, {.left = 1}),
    alone(typeRadio3, left, {.left = 1}),
    {2, 2, {{0, 0, startLabel, left}, {0, 1, stopButton, right}, {1, 1, startButton, right}}},
    {2, 1, {{0, 0, diagnoseLabel, left, {.top = 1}}, {1, 0, diagnoseButton, right, {.top = 1}}}},
    {2,
     2,
     {{0, 0, firmwareLabel, left}, {0, 1, updateButton, right}, {1, 1, versionButton, right}}},
    {2, 1, {{0, 0, boardLabel, left, {.top = 1}}, {1, 0, changeButton, right, {.top = 1}}}},
    {2, 1, {{0, 0, dumpLabel, left, {.top = 1}}, {1, 0, executeButton, right, {.top = 1}}}},
    alone(dumpTime1, top, {.left = 1}),
    alone(dumpTime2, top, {.left = 1}),
    {2, 1, {{0, 0, stateLabel, top}, {1, 0, stateBox, left}}},
    {2, 1, {{0, 0, refreshButton, left}, {1, 0, closeButton, right, {.left = 3}}}},
    {},
};

constexpr int tabOrder[] = {
    mtbfLabel,     clearButton,       mtbfTypeLabel, typeRadio1,    typeRadio2,
    typeRadio3,    setMtbfTypeButton, startLabel,    stopButton,    startButton,
    diagnoseLabel, diagnoseButton,    firmwareLabel, updateButton,  versionButton,
    boardLabel,    changeButton,      dumpLabel,     dumpTime1,     dumpTime2,
    executeButton, stateLabel,        stateBox,      refreshButton, closeButton,
};

enum QuestionNumber { clearQuestion, stopQuestion, startQuestion };

constexpr TextKey questions[] = {
    "QUERYWIN_CLEAR_ID",  "QUERYWIN_STOP_ID", "QUERYWIN_START_ID",
    "QUERYWIN_CHANGE_ID", "QUERYWIN_DUMP_ID", // which no button asks as long as both are refused
};

int showBios(yat_device *device)
{
    return BiosData(numberOf(device));
}

constexpr Button buttons[] = {
    {closeButton, leave},
    {clearButton, operate, &clearMtbf, YAT_SUPPORT_CPU_CLEAR_MTBF, clearQuestion},
    {stopButton, operate, &bringDown, YAT_SUPPORT_CPU_BRING_DOWN, stopQuestion},
    {startButton, operate, &bringUp, YAT_SUPPORT_CPU_BRING_UP, startQuestion},
    {changeButton, refuse, &changeJumpSwitch},
    {executeButton, refuse, &takeDump},
    {diagnoseButton, refuse, &diagnose},
    {setMtbfTypeButton, setSelectedType, &setMtbfType, YAT_SUPPORT_CPU_SET_MTBF_TYPE},
    {.part = updateButton, .action = openDialog, .opens = FirmUpdate},
    {refreshButton, refresh},
    {.part = versionButton, .action = openDialog, .opens = showBios},
};

// A CPU module is its own board.
bool findBoard(const yat_device *device, unsigned long *, int *board)
{
    *board = numberOf(device);
    return true;
}

constexpr WindowKind window = checked({
    .origin = {traceSource, "CpuSubWin", __LINE__},
    .opening = {">[IN] datap = %p", "number = %d devName = %d", "datap->lpszTreeName=%s"},
    .classCode = YAT_CLASS_CPU_MODULE,
    .questions = questions,
    .components = components,
    .rows = rows,
    .tabOrder = tabOrder,
    .buttons = buttons,
    .state = StateText{.kind = YAT_KIND_CPU_MODULE,
                       .code = YAT_STATE_CPU_MODULE,
                       .box = stateBox,
                       .readAfter = stateBox,
                       .unreadable = "CPUSTATE_ERR_ID"},
    .mtbfType = MtbfTypeGroup{mtbfTypeLabel, setMtbfTypeButton, typeRadio1, findBoard},
    .freesGrids = true,
    .resumesAtEnd = true,
});

} // namespace

int CpuSubWin(yat_device *datap)
{
    return runDeviceWindow(window, datap);
}

// Reads a text of the CPU module. Where that fails, an error box says so and the text is the
// unknown one. False when the platform can't be asked.
static bool readBiosText(int index, int property, TextKey unreadable, PropertyText &value)
{
    unsigned long size = 1024;
    const Reading reading = readProperty({traceSource, "BiosData", __LINE__},
                                         {YAT_KIND_CPU_MODULE, index, property}, &size, value);
    if (reading == Reading::refused)
        replaceUnreadable(value, unreadable);
    return reading != Reading::impossible;
}

static bool readBios(int index, PropertyText &version, PropertyText &status)
{
    const Waiting waiting(text("BIOS_TITLE"));
    return readBiosText(index, YAT_PROPERTY_BIOS_VERSION, "BIOS_VER_FAIL", version)
           && readBiosText(index, YAT_PROPERTY_BIOS_STATUS, "BIOS_DATA_FAIL", status);
}

static newtComponent makeBiosBox()
{
    return makeTextbox(72, 2, NEWT_FLAG_WRAP);
}

int BiosData(int index)
{
    TRACE(">[IN]index=%d", index);
    newtComponent form = newtForm(nullptr, nullptr, 0);
    newtComponent ok = newtButton(-1, -1, text("BUTTON_OK_ID"));
    newtComponent versionLabel = makeLabel(text("CPU_BIOS_VER"));
    newtComponent versionBox = makeBiosBox();
    newtComponent statusLabel = makeLabel(text("CPU_STRTUS_BIOS"));
    newtComponent statusBox = makeBiosBox();
    PropertyText version, status;
    if (!readBios(index, version, status))
        return 0;
    setText(versionBox, version.data());
    setText(statusBox, status.data());

    const Grid texts = {1,
                        4,
                        {{0, 0, versionLabel, NEWT_ANCHOR_LEFT},
                         {0, 1, versionBox, NEWT_ANCHOR_LEFT},
                         {0, 2, statusLabel, NEWT_ANCHOR_LEFT, {.top = 1}},
                         {0, 3, statusBox, NEWT_ANCHOR_LEFT}}};
    const Grid grid = {
        1, 2, {{0, 0, texts, NEWT_ANCHOR_TOP}, {0, 1, ok, NEWT_ANCHOR_TOP, {.top = 1}}}};
    openWindow(form, grid, text("BIOS_TITLE"), GridEnd::freed);
    newtFormAddComponents(form, versionLabel, versionBox, statusLabel, statusBox, ok, nullptr);
    runForm(form);
    closeWindow(form);
    TRACE("<");
    return 0;
}
