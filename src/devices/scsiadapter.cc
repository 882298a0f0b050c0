// SPDX-License-Identifier: GPL-2.0-or-later
// The window of a SCSI adapter.
#include "devices/scsiadapter.h"

#include "devices/actions.h"
#include "system/fmupdate.h"

static constexpr char traceSource[] = "scsiadapter";

namespace {

enum Part {
    closeButton,
    mtbfLabel,
    diagnoseLabel,
    clearButton,
    diagnoseButton,
    stopButton,
    startButton,
    updateButton,
};

constexpr Component components[] = {
    {closeButton, Widget::button, "BUTTON_CLOSE_ID"},
    {mtbfLabel, Widget::label, "LABEL_MTBF_ID"},
    {diagnoseLabel, Widget::label, "LABEL_ADAPTERDIAG_ID"},
    {clearButton, Widget::compactButton, "COMBUTTON_CLEAR_ID"},
    {diagnoseButton, Widget::compactButton, "COMBUTTON_DIAGNOSE_ID"},
};

constexpr Row rows[] = {
    {2, 1, {{0, 0, mtbfLabel, left}, {1, 0, clearButton, right, {.left = 1}}}},
    {2, 1, {{0, 0, diagnoseLabel, left, {.top = 1}}, {1, 0, diagnoseButton, right, {.top = 1}}}},
    alone(closeButton, top, {.top = 2}),
};

constexpr int tabOrder[] = {mtbfLabel, clearButton, diagnoseLabel, diagnoseButton, closeButton};

enum QuestionNumber { clearQuestion };

constexpr TextKey questions[] = {"QUERYWIN_CLEAR_ID", "QUERYWIN_ADAPTERSTOP_ID",
                                 "QUERYWIN_ADAPTERSTART_ID"};

// The window has no button to stop, start or update the adapter.
constexpr Button buttons[] = {
    {closeButton, leave},
    {clearButton, operate, &clearMtbf, YAT_SUPPORT_SCSI_CLEAR_MTBF, clearQuestion},
    {diagnoseButton, refuse, &diagnose},
    {stopButton, refuse, &bringDown},
    {startButton, refuse, &bringUp},
    {.part = updateButton, .action = openDialog, .opens = FMUpdate},
};

constexpr WindowKind window = checked({
    .origin = {traceSource, "ScsiAdapter", __LINE__},
    .opening = {">[IN] datap=%p", "devName=%2$d number=%1$d", "datap->lpszTreeName = %s"},
    .classCode = YAT_CLASS_SCSI_ADAPTER,
    .questions = questions,
    .components = components,
    .rows = rows,
    .tabOrder = tabOrder,
    .buttons = buttons,
});

} // namespace

int ScsiAdapter(yat_device *datap)
{
    return runDeviceWindow(window, datap);
}
