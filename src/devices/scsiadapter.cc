// The window of a SCSI adapter.
#include "devices/devicewindow.h"
#include "devices/windows.h"
#include "platform/trace.h"
#include "system/windows.h"

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

const Component components[] = {
    {closeButton, Make::button, "BUTTON_CLOSE_ID"},
    {mtbfLabel, Make::label, "LABEL_MTBF_ID"},
    {diagnoseLabel, Make::label, "LABEL_ADAPTERDIAG_ID"},
    {clearButton, Make::compactButton, "COMBUTTON_CLEAR_ID"},
    {diagnoseButton, Make::compactButton, "COMBUTTON_DIAGNOSE_ID"},
};

const Row rows[] = {
    {2, 1, {{0, 0, mtbfLabel, left}, {1, 0, clearButton, right, {.left = 1}}}},
    {2, 1, {{0, 0, diagnoseLabel, left, {.top = 1}}, {1, 0, diagnoseButton, right, {.top = 1}}}},
    {0, 0, {{0, 0, closeButton, top, {.top = 2}}}},
};

const int tabOrder[] = {mtbfLabel, clearButton, diagnoseLabel, diagnoseButton, closeButton};

enum QuestionNumber { clearQuestion };

const OperationButton operations[] = {
    {clearButton, clearQuestion,
     {"COMBUTTON_CLEAR_ID", 25, "CLEARMTBFSUPPORT_ERR_ID", "CLEARMTBF_ERR_ID",
      runPlain<ClearMTBF>}},
};

// The window has no button for stop and start.
const RefusingButton refusals[] = {
    {diagnoseButton, "DIAGSUPPOPT_ERR_ID"},
    {stopButton, "BRINGDOWNSUPPORT_ERR_ID"},
    {startButton, "BRINGUPSUPPORT_ERR_ID"},
};

void answerOther(DeviceWindow &window, newtComponent pressed)
{
    if (pressed == window.parts[updateButton]) // no more than the window has the others
        FMUpdate(window.device);
}

const WindowTables tables = {
    .components = components,
    .rows = rows,
    .tabOrder = tabOrder,
    .operations = operations,
    .refusals = refusals,
    .closeButton = closeButton,
    .answer = answerOther,
};

} // namespace

int ScsiAdapter(yat_device *datap)
{
    TRACE(">[IN] datap=%p", static_cast<void *>(datap));
    DeviceWindow window{.device = datap};
    loadQuestions(window, {"QUERYWIN_CLEAR_ID", "QUERYWIN_ADAPTERSTOP_ID",
                           "QUERYWIN_ADAPTERSTART_ID"});
    TRACE("devName=%d number=%d", YAT_CLASS_SCSI_ADAPTER, numberOf(datap));
    TRACE("datap->lpszTreeName = %s", traceNameOf(datap));
    runDeviceWindow(window, tables);
    TRACE("<");
    return 0;
}
