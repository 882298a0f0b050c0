// The window of a CPU module, and the view of its BIOS data.
#include "devices/devicewindow.h"
#include "devices/windows.h"
#include "dialogs/autowin.h"
#include "dialogs/window.h"
#include "platform/trace.h"
#include "system/windows.h"

#include <algorithm>

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
    step, // what a step makes stands in its own part
};

const Component components[] = {
    {closeButton, Make::button, "BUTTON_CLOSE_ID"},
    {mtbfLabel, Make::label, "LABEL_MTBF_ID"},
    {startLabel, Make::label, "LABEL_CPUSTART_ID"},
    {diagnoseLabel, Make::label, "LABEL_CPUDIAG_ID"},
    {firmwareLabel, Make::label, "LABEL_FIRMWARE_UP_ID"},
    {boardLabel, Make::label, "LABEL_BOARD_ID"},
    {dumpLabel, Make::label, "LABEL_DUMP_ID"},
    {mtbfTypeLabel, Make::label, "LABEL_MTBFTYPE_ID", onlyWithMtbfType},
    {stateLabel, Make::label, "LABEL_CPUSTATE_ID"},
    {stateBox, Make::stateBox},
    {step, Make::readState},
    {dumpTime1, Make::firstRadio, "LABEL_DUMPTIME_ID"},
    {dumpTime2, Make::nextRadio, "LABEL_DUMPTIME2_ID"},
    {clearButton, Make::compactButton, "COMBUTTON_CLEAR_ID"},
    {stopButton, Make::compactButton, "COMBUTTON_STOP_ID"},
    {startButton, Make::compactButton, "COMBUTTON_START_ID"},
    {diagnoseButton, Make::compactButton, "COMBUTTON_DIAGNOSE_ID"},
    {updateButton, Make::compactButton, "COMBUTTON_UPDATE_ID"},
    {changeButton, Make::compactButton, "COMBUTTON_CHANGE_ID"},
    {executeButton, Make::compactButton, "COMBUTTON_EXCUTE_ID"},
    {refreshButton, Make::button, "COMBUTTON_REFRESH_ID"},
    {versionButton, Make::compactButton, "VERSION_INFO"},
    {setMtbfTypeButton, Make::compactButton, "COMBUTTON_SETMTBFTYPE_ID", onlyWithMtbfType},
    {step, Make::readMtbfType, "LABEL_UNKNOWN_ID", onlyWithMtbfType},
    {typeRadio1, Make::typeRadios, "LABEL_UNKNOWN_ID", onlyWithMtbfType},
};

const Row rows[] = {
    {2, 1, {{0, 0, mtbfLabel, left}, {1, 0, clearButton, right}}},
    {2, 1, {{0, 0, mtbfTypeLabel, left, {.top = 1}}, {1, 0, setMtbfTypeButton, right, {.top = 1}}}},
    {0, 0, {{0, 0, typeRadio1, left, {.left = 1}}}},
    {0, 0, {{0, 0, typeRadio2, left, {.left = 1}}}},
    {0, 0, {{0, 0, typeRadio3, left, {.left = 1}}}},
    {2, 2, {{0, 0, startLabel, left}, {0, 1, stopButton, right}, {1, 1, startButton, right}}},
    {2, 1, {{0, 0, diagnoseLabel, left, {.top = 1}}, {1, 0, diagnoseButton, right, {.top = 1}}}},
    {2, 2, {{0, 0, firmwareLabel, left}, {0, 1, updateButton, right}, {1, 1, versionButton, right}}},
    {2, 1, {{0, 0, boardLabel, left, {.top = 1}}, {1, 0, changeButton, right, {.top = 1}}}},
    {2, 1, {{0, 0, dumpLabel, left, {.top = 1}}, {1, 0, executeButton, right, {.top = 1}}}},
    {0, 0, {{0, 0, dumpTime1, top, {.left = 1}}}},
    {0, 0, {{0, 0, dumpTime2, top, {.left = 1}}}},
    {2, 1, {{0, 0, stateLabel, top}, {1, 0, stateBox, left}}},
    {2, 1, {{0, 0, refreshButton, left}, {1, 0, closeButton, right, {.left = 3}}}},
    {},
};

const int tabOrder[] = {
    mtbfLabel,     clearButton,    mtbfTypeLabel, typeRadio1,   typeRadio2,    typeRadio3,
    setMtbfTypeButton, startLabel, stopButton,    startButton,  diagnoseLabel, diagnoseButton,
    firmwareLabel, updateButton,   versionButton, boardLabel,   changeButton,  dumpLabel,
    dumpTime1,     dumpTime2,      executeButton, stateLabel,   stateBox,      refreshButton,
    closeButton,
};

enum QuestionNumber { clearQuestion, stopQuestion, startQuestion };

const OperationButton operations[] = {
    {clearButton, clearQuestion,
     {"COMBUTTON_CLEAR_ID", 1, "CLEARMTBFSUPPORT_ERR_ID", "CLEARMTBF_ERR_ID",
      runPlain<ClearMTBF>}},
    {stopButton, stopQuestion,
     {"COMBUTTON_STOP_ID", 7, "BRINGDOWNSUPPORT_ERR_ID", "BRINGDOWN_ERR_ID",
      runPlain<InitBringDown>}},
    {startButton, startQuestion,
     {"COMBUTTON_START_ID", 5, "BRINGUPSUPPORT_ERR_ID", "BRINGUP_ERR_ID",
      runPlain<InitBringUp>}},
};

const Operation setMtbfType = {"COMBUTTON_SETMTBFTYPE_ID", 13, "SETMTBFTYPESUPPORT_ERR_ID",
                               "SETMTBFTYPE_FAIL", runSetMtbfType};

const RefusingButton refusals[] = {
    {changeButton, "JUMPSWSUPPORT_ERR_ID"},
    {executeButton, "HARVESTDUMPSUPPORT_ERR_ID"},
    {diagnoseButton, "DIAGSUPPOPT_ERR_ID"},
};

// A CPU module is its own board.
bool readMtbfType(DeviceWindow &window)
{
    unsigned long size = 1025;
    return readBoardMtbfType(window, numberOf(window.device), &size, traceSource, "CpuSubWin");
}

void answerOther(DeviceWindow &window, newtComponent pressed)
{
    if (pressed == window.parts[updateButton])
        FirmUpdate(window.device);
    else if (pressed == window.parts[versionButton])
        BiosData(numberOf(window.device));
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
    .answer = answerOther,
    .freesGrids = true,
    .resumesAtEnd = true,
};

} // namespace

int CpuSubWin(yat_device *datap)
{
    const bool hasMtbfType = call_yat_is_ft(0) == YAT_MACHINE_CEDAR;
    TRACE(">[IN] datap = %p", static_cast<void *>(datap));
    DeviceWindow window{.device = datap};
    window.stateKind = YAT_KIND_CPU_MODULE;
    window.stateCode = YAT_STATE_CPU_MODULE;
    window.stateUnreadable = "CPUSTATE_ERR_ID";
    window.readMtbfType = hasMtbfType ? readMtbfType : nullptr;
    loadQuestions(window, {"QUERYWIN_CLEAR_ID", "QUERYWIN_STOP_ID", "QUERYWIN_START_ID",
                           "QUERYWIN_CHANGE_ID", "QUERYWIN_DUMP_ID"});
    TRACE("number = %d devName = %d", numberOf(datap), YAT_CLASS_CPU_MODULE);
    TRACE("datap->lpszTreeName=%s", traceNameOf(datap));
    if (runDeviceWindow(window, tables))
        TRACE("<");
    return 0;
}

// Reads a text of the CPU module. Where that fails, an error box says so and the text is the
// unknown one.
static void readBiosText(int index, int property, TextKey unreadable,
                         std::array<char, 1025> &buffer)
{
    unsigned long size = 1024;
    buffer.fill('\0');
    if (yat_ft_func.yat_ft_get_property(YAT_KIND_CPU_MODULE, index, property, buffer.data(), &size)
        != 0) {
        showError(unreadable);
        copyText(buffer, text("LABEL_UNKNOWN_ID"));
    }
    buffer.back() = '\0';
}

// A text box for a BIOS text, narrower on a terminal that it would not fit on.
static newtComponent makeBiosBox()
{
    constexpr int width = 72, height = 2, around = 4; // frame and margin
    int columns;
    newtGetScreenSize(&columns, nullptr);
    return newtTextbox(-1, -1, std::min(width, columns - around), height, NEWT_FLAG_WRAP);
}

int BiosData(int index)
{
    TRACE(">[IN]index=%d", index);
    newtComponent form = newtForm(nullptr, nullptr, 0);
    newtComponent ok = newtButton(-1, -1, text("BUTTON_OK_ID"));
    newtComponent versionLabel = newtLabel(-1, -1, text("CPU_BIOS_VER"));
    newtComponent versionBox = makeBiosBox();
    newtComponent statusLabel = newtLabel(-1, -1, text("CPU_STRTUS_BIOS"));
    newtComponent statusBox = makeBiosBox();
    if (!yat_ft_func.yat_ft_get_property) {
        TRACE_ERROR("<function pointer of yat_ft_get_property is NULL.");
        return 0;
    }
    std::array<char, 1025> version, status;
    readBiosText(index, YAT_PROPERTY_BIOS_VERSION, "BIOS_VER_FAIL", version);
    readBiosText(index, YAT_PROPERTY_BIOS_STATUS, "BIOS_DATA_FAIL", status);
    newtTextboxSetText(versionBox, version.data());
    newtTextboxSetText(statusBox, status.data());

    newtGrid texts = makeGrid(1, 4,
                              {{0, 0, versionLabel, NEWT_ANCHOR_LEFT},
                               {0, 1, versionBox, NEWT_ANCHOR_LEFT},
                               {0, 2, statusLabel, NEWT_ANCHOR_LEFT, {.top = 1}},
                               {0, 3, statusBox, NEWT_ANCHOR_LEFT}});
    newtGrid grid = makeGrid(
        1, 2, {{0, 0, texts, NEWT_ANCHOR_TOP}, {0, 1, ok, NEWT_ANCHOR_TOP, {.top = 1}}});
    openWindow(form, grid, text("BIOS_TITLE"));
    newtGridFree(grid, 1);
    newtFormAddComponents(form, versionLabel, versionBox, statusLabel, statusBox, ok, nullptr);
    runForm(form);
    closeWindow(form);
    TRACE("<");
    return 0;
}
