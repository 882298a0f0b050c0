// The window of an Ethernet adapter.
#include "devices/devicewindow.h"
#include "devices/windows.h"
#include "platform/trace.h"

static constexpr char traceSource[] = "ethernet";

namespace {

enum Part { closeButton, mtbfLabel, clearButton, stopButton, startButton, diagnoseButton };

const Component components[] = {
    {closeButton, Make::button, "BUTTON_CLOSE_ID"},
    {mtbfLabel, Make::label, "LABEL_MTBF_ID"},
    {clearButton, Make::compactButton, "COMBUTTON_CLEAR_ID"},
};

const Row rows[] = {
    {2, 1, {{0, 0, mtbfLabel, left}, {1, 0, clearButton, right, {.left = 4}}}},
    {0, 0, {{0, 0, closeButton, top, {.top = 2}}}},
};

const int tabOrder[] = {mtbfLabel, clearButton, closeButton};

enum QuestionNumber { clearQuestion };

const OperationButton operations[] = {
    {clearButton, clearQuestion,
     {"COMBUTTON_CLEAR_ID", 31, "CLEARMTBFSUPPORT_ERR_ID", "CLEARMTBF_ERR_ID",
      runPlain<ClearMTBF>}},
};

// For buttons that the window does not have.
const RefusingButton refusals[] = {
    {startButton, "BRINGUPSUPPORT_ERR_ID"},
    {stopButton, "BRINGDOWNSUPPORT_ERR_ID"},
    {diagnoseButton, "DIAGSUPPOPT_ERR_ID"},
};

const WindowTables tables = {
    .components = components,
    .rows = rows,
    .tabOrder = tabOrder,
    .operations = operations,
    .refusals = refusals,
    .closeButton = closeButton,
};

} // namespace

int Ethernet(yat_device *datap)
{
    TRACE(">[IN] datap = %p", static_cast<void *>(datap));
    DeviceWindow window{.device = datap};
    loadQuestions(window, {"QUERYWIN_CLEAR_ID", "QUERYWIN_ETHERNETSTOP_ID",
                           "QUERYWIN_ETHERNETSTART_ID"});
    TRACE("number = %d devName = %d", numberOf(datap), YAT_CLASS_ETHERNET_ADAPTER);
    TRACE("datap->lpszTreeName=%s", traceNameOf(datap));
    runDeviceWindow(window, tables);
    TRACE("<");
    return 0;
}
