// SPDX-License-Identifier: GPL-2.0-or-later
// The window of an Ethernet adapter.
#include "devices/ethernet.h"

#include "devices/actions.h"

static constexpr char traceSource[] = "ethernet";

namespace {

enum Part { closeButton, mtbfLabel, clearButton, stopButton, startButton, diagnoseButton };

constexpr Component components[] = {
    {closeButton, Widget::button, "BUTTON_CLOSE_ID"},
    {mtbfLabel, Widget::label, "LABEL_MTBF_ID"},
    {clearButton, Widget::compactButton, "COMBUTTON_CLEAR_ID"},
};

constexpr Row rows[] = {
    {2, 1, {{0, 0, mtbfLabel, left}, {1, 0, clearButton, right, {.left = 4}}}},
    alone(closeButton, top, {.top = 2}),
};

constexpr int tabOrder[] = {mtbfLabel, clearButton, closeButton};

enum QuestionNumber { clearQuestion };

constexpr TextKey questions[] = {"QUERYWIN_CLEAR_ID", "QUERYWIN_ETHERNETSTOP_ID",
                                 "QUERYWIN_ETHERNETSTART_ID"};

// The window has a button for the first two only.
constexpr Button buttons[] = {
    {closeButton, leave},
    {clearButton, operate, &clearMtbf, YAT_SUPPORT_ETHERNET_CLEAR_MTBF, clearQuestion},
    {startButton, refuse, &bringUp},
    {stopButton, refuse, &bringDown},
    {diagnoseButton, refuse, &diagnose},
};

constexpr WindowKind window = checked({
    .origin = {traceSource, "Ethernet", __LINE__},
    .opening = {">[IN] datap = %p", "number = %d devName = %d", "datap->lpszTreeName=%s"},
    .classCode = YAT_CLASS_ETHERNET_ADAPTER,
    .questions = questions,
    .components = components,
    .rows = rows,
    .tabOrder = tabOrder,
    .buttons = buttons,
});

} // namespace

int Ethernet(yat_device *datap)
{
    return runDeviceWindow(window, datap);
}
