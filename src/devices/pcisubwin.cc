// SPDX-License-Identifier: GPL-2.0-or-later
// The window of a PCI module.
#include "devices/pcisubwin.h"

#include "devices/actions.h"
#include "platform/device.h"
#include "platform/property.h"

static constexpr char traceSource[] = "pcisubwin";

namespace {

enum Part {
    closeButton,
    refreshButton,
    stateBox,
    stateLabel,
    mtbfLabel,
    startLabel,
    diagnoseLabel,
    mtbfTypeLabel,
    clearButton,
    stopButton,
    startButton,
    diagnoseButton,
    setMtbfTypeButton,
    typeRadio1,
    typeRadio2,
    typeRadio3,
};

constexpr Component components[] = {
    {closeButton, Widget::button, "BUTTON_CLOSE_ID"},
    {refreshButton, Widget::button, "COMBUTTON_REFRESH_ID"},
    {stateBox, Widget::stateBox},
    {stateLabel, Widget::label, "LABEL_PCISTATE_ID"},
    {mtbfLabel, Widget::label, "LABEL_MTBF_ID"},
    {startLabel, Widget::label, "LABEL_PCISTART_ID"},
    {diagnoseLabel, Widget::label, "LABEL_PCIDIAG_ID"},
    {mtbfTypeLabel, Widget::label, "LABEL_MTBFTYPE_ID"},
    {clearButton, Widget::compactButton, "COMBUTTON_CLEAR_ID"},
    {stopButton, Widget::compactButton, "COMBUTTON_STOP_ID"},
    {startButton, Widget::compactButton, "COMBUTTON_START_ID"},
    {diagnoseButton, Widget::compactButton, "COMBUTTON_DIAGNOSE_ID"},
    {setMtbfTypeButton, Widget::compactButton, "COMBUTTON_SETMTBFTYPE_ID"},
};

constexpr Row rows[] = {
    {2, 1, {{0, 0, mtbfLabel, left}, {1, 0, clearButton, right}}},
    {2, 1, {{0, 0, mtbfTypeLabel, left, {.top = 1}}, {1, 0, setMtbfTypeButton, right, {.top = 1}}}},
    alone(typeRadio1, left),
    alone(typeRadio2, left),
    alone(typeRadio3, left),
    {2,
     2,
     {{0, 0, startLabel, left, {.top = 1}}, {0, 1, stopButton, right}, {1, 1, startButton, right}}},
    {2, 1, {{0, 0, diagnoseLabel, left, {.top = 1}}, {1, 0, diagnoseButton, right, {.top = 1}}}},
    {2, 1, {{0, 0, stateLabel, left, {.top = 1}}, {1, 0, stateBox, left, {.top = 1}}}},
    {2, 1, {{0, 0, refreshButton, left}, {1, 0, closeButton, right}}, {.top = 1}},
};

constexpr int tabOrder[] = {
    mtbfLabel,  clearButton, nextCall,          mtbfTypeLabel,  typeRadio1,
    typeRadio2, typeRadio3,  setMtbfTypeButton, nextCall,       startLabel,
    stopButton, startButton, diagnoseLabel,     diagnoseButton, stateLabel,
    stateBox,   nextCall,    refreshButton,     closeButton,
};

enum QuestionNumber { clearQuestion, stopQuestion, startQuestion };

constexpr TextKey questions[] = {"QUERYWIN_CLEAR_ID", "QUERYWIN_PCISTOP_ID",
                                 "QUERYWIN_PCISTART_ID"};

constexpr Button buttons[] = {
    {closeButton, leave},
    {clearButton, operate, &clearMtbf, YAT_SUPPORT_PCI_CLEAR_MTBF, clearQuestion},
    {stopButton, operate, &bringDown, YAT_SUPPORT_PCI_BRING_DOWN, stopQuestion},
    {startButton, operate, &bringUp, YAT_SUPPORT_PCI_BRING_UP, startQuestion},
    {diagnoseButton, refuse, &diagnose},
    {setMtbfTypeButton, setSelectedType, &setMtbfType, YAT_SUPPORT_PCI_SET_MTBF_TYPE},
    {refreshButton, refresh},
};

constexpr TraceOrigin origin = {traceSource, "PciSubWin", __LINE__};

// The board carries the module. What reads the type next is given the length that this leaves.
bool findBoard(const yat_device *device, unsigned long *size, int *board)
{
    PropertyText index;
    const Reading reading =
        readProperty(origin, {YAT_KIND_PCI_MODULE, numberOf(device), YAT_PROPERTY_RELATIONAL_INDEX},
                     size, index);
    if (reading == Reading::refused)
        TRACE_AS(YAT_TRACE_ERROR, "PciSubWin",
                 "yat_ft_get_property failed when getting mrvIobdRelationalIndex.");
    return reading == Reading::done
           && convertProperty(origin, index, "Linux_ConvertDataToInt(...) return -1.", board);
}

constexpr WindowKind window = checked({
    .origin = origin,
    .opening = {">[IN] datap=%p", "number = %d devName = %d", "datap->lpszTreeName=%s"},
    .classCode = YAT_CLASS_PCI_MODULE,
    .questions = questions,
    .components = components,
    .rows = rows,
    .tabOrder = tabOrder,
    .buttons = buttons,
    .state = StateText{.kind = YAT_KIND_PCI_MODULE,
                       .code = YAT_STATE_PCI_MODULE,
                       .box = stateBox,
                       .readAfter = stateLabel,
                       .unreadable = "PCISTATE_ERR_ID"},
    .mtbfType = MtbfTypeGroup{mtbfTypeLabel, setMtbfTypeButton, typeRadio1, findBoard},
    .titleSize = 80,
    .freesGrids = true,
});

} // namespace

int PciSubWin(yat_device *datap)
{
    return runDeviceWindow(window, datap);
}
