// The window of a PCI module.
#include "devices/devicewindow.h"
#include "devices/windows.h"
#include "platform/trace.h"

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
    step, // what a step makes stands in its own part
};

const Component components[] = {
    {closeButton, Make::button, "BUTTON_CLOSE_ID"},
    {refreshButton, Make::button, "COMBUTTON_REFRESH_ID"},
    {stateBox, Make::stateBox},
    {stateLabel, Make::label, "LABEL_PCISTATE_ID"},
    {step, Make::readState},
    {mtbfLabel, Make::label, "LABEL_MTBF_ID"},
    {startLabel, Make::label, "LABEL_PCISTART_ID"},
    {diagnoseLabel, Make::label, "LABEL_PCIDIAG_ID"},
    {mtbfTypeLabel, Make::label, "LABEL_MTBFTYPE_ID", onlyWithMtbfType},
    {clearButton, Make::compactButton, "COMBUTTON_CLEAR_ID"},
    {stopButton, Make::compactButton, "COMBUTTON_STOP_ID"},
    {startButton, Make::compactButton, "COMBUTTON_START_ID"},
    {diagnoseButton, Make::compactButton, "COMBUTTON_DIAGNOSE_ID"},
    {setMtbfTypeButton, Make::compactButton, "COMBUTTON_SETMTBFTYPE_ID", onlyWithMtbfType},
    {step, Make::readMtbfType, "LABEL_UNKNOWN_ID", onlyWithMtbfType},
    {typeRadio1, Make::typeRadios, "LABEL_UNKNOWN_ID", onlyWithMtbfType},
};

const Row rows[] = {
    {2, 1, {{0, 0, mtbfLabel, left}, {1, 0, clearButton, right}}},
    {2, 1, {{0, 0, mtbfTypeLabel, left, {.top = 1}}, {1, 0, setMtbfTypeButton, right, {.top = 1}}}},
    {0, 0, {{0, 0, typeRadio1, left}}},
    {0, 0, {{0, 0, typeRadio2, left}}},
    {0, 0, {{0, 0, typeRadio3, left}}},
    {2, 2, {{0, 0, startLabel, left, {.top = 1}}, {0, 1, stopButton, right}, {1, 1, startButton, right}}},
    {2, 1, {{0, 0, diagnoseLabel, left, {.top = 1}}, {1, 0, diagnoseButton, right, {.top = 1}}}},
    {2, 1, {{0, 0, stateLabel, left, {.top = 1}}, {1, 0, stateBox, left, {.top = 1}}}},
    {2, 1, {{0, 0, refreshButton, left}, {1, 0, closeButton, right}}, {.top = 1}},
};

const int tabOrder[] = {
    mtbfLabel,     clearButton,    mtbfTypeLabel, typeRadio1,  typeRadio2, typeRadio3,
    setMtbfTypeButton, startLabel, stopButton,    startButton, diagnoseLabel, diagnoseButton,
    stateLabel,    stateBox,       refreshButton, closeButton,
};

enum QuestionNumber { clearQuestion, stopQuestion, startQuestion };

const OperationButton operations[] = {
    {clearButton, clearQuestion,
     {"COMBUTTON_CLEAR_ID", 15, "CLEARMTBFSUPPORT_ERR_ID", "CLEARMTBF_ERR_ID",
      runPlain<ClearMTBF>}},
    {stopButton, stopQuestion,
     {"COMBUTTON_STOP_ID", 21, "BRINGDOWNSUPPORT_ERR_ID", "BRINGDOWN_ERR_ID",
      runPlain<InitBringDown>}},
    {startButton, startQuestion,
     {"COMBUTTON_START_ID", 19, "BRINGUPSUPPORT_ERR_ID", "BRINGUP_ERR_ID",
      runPlain<InitBringUp>}},
};

const Operation setMtbfType = {"COMBUTTON_SETMTBFTYPE_ID", 23, "SETMTBFTYPESUPPORT_ERR_ID",
                               "SETMTBFTYPE_FAIL", runSetMtbfType};

const RefusingButton refusals[] = {
    {diagnoseButton, "DIAGSUPPOPT_ERR_ID"},
};

// The MTBF type is one of the board that carries the module, so the board is asked for first. The
// second read is given the length that the first one left.
bool readMtbfType(DeviceWindow &window)
{
    constexpr char function[] = "PciSubWin";
    unsigned long size = 1025;
    if (!yat_ft_func.yat_ft_get_property) {
        TRACE_ERROR_AS(function, "<function pointer of yat_ft_get_property is NULL.");
        return false;
    }
    std::array<char, 1025> property{};
    if (yat_ft_func.yat_ft_get_property(YAT_KIND_PCI_MODULE, numberOf(window.device),
                                        YAT_PROPERTY_RELATIONAL_INDEX, property.data(), &size)
        != 0) {
        TRACE_ERROR_AS(function, "yat_ft_get_property failed when getting mrvIobdRelationalIndex.");
        return false;
    }
    if (!yat_ft_func.Linux_ConvertDataToInt) {
        TRACE_ERROR_AS(function, "<function pointer of Linux_ConvertDataToInt is NULL.");
        return false;
    }
    int board = 0;
    property.back() = '\0';
    if (yat_ft_func.Linux_ConvertDataToInt(property.data(), &board) == -1) {
        TRACE_ERROR_AS(function, "Linux_ConvertDataToInt(...) return -1.");
        return false;
    }
    return readBoardMtbfType(window, board, &size, traceSource, function);
}

const WindowTables tables = {
    .components = components,
    .rows = rows,
    .tabOrder = tabOrder,
    .operations = operations,
    .refusals = refusals,
    .closeButton = closeButton,
    .refreshButton = refreshButton,
    .setMtbfTypeButton = setMtbfTypeButton,
    .setMtbfType = &setMtbfType,
    .titleSize = 80,
    .freesGrids = true,
};

} // namespace

int PciSubWin(yat_device *datap)
{
    const bool hasMtbfType = call_yat_is_ft(0) == YAT_MACHINE_CEDAR;
    TRACE(">[IN] datap=%p", static_cast<void *>(datap));
    DeviceWindow window{.device = datap};
    window.stateKind = YAT_KIND_PCI_MODULE;
    window.stateCode = YAT_STATE_PCI_MODULE;
    window.stateUnreadable = "PCISTATE_ERR_ID";
    window.readMtbfType = hasMtbfType ? readMtbfType : nullptr;
    loadQuestions(window, {"QUERYWIN_CLEAR_ID", "QUERYWIN_PCISTOP_ID",
                           "QUERYWIN_PCISTART_ID"});
    TRACE("number = %d devName = %d", numberOf(datap), YAT_CLASS_PCI_MODULE);
    TRACE("datap->lpszTreeName=%s", traceNameOf(datap));
    if (runDeviceWindow(window, tables))
        TRACE("<");
    return 0;
}
