#include "devices/devicewindow.h"

#include "dialogs/autowin.h"
#include "dialogs/window.h"
#include "platform/trace.h"

#include <array>

namespace {

constexpr size_t propertySize = 1025;
constexpr int stateColumns = 19, stateRows = 2;

newtComponent makeStateBox()
{
    return newtTextbox(-1, -1, stateColumns, stateRows, NEWT_FLAG_WRAP);
}

// The radio buttons of the MTBF type: the one for the type read is selected, none for another.
void makeTypeRadios(DeviceWindow &window)
{
    constexpr int typeOfFirst = 2;
    static constexpr TextKey texts[] = {"LABEL_SETMTBFTYPE1_ID", "LABEL_SETMTBFTYPE2_ID",
                                        "LABEL_SETMTBFTYPE3_ID"};
    newtComponent previous = nullptr;
    for (int i = 0; i < 3; ++i) {
        const bool selected = window.mtbfType == typeOfFirst + i;
        previous = newtRadiobutton(-1, -1, text(texts[i]), selected, previous);
        window.parts[window.firstTypeRadio + i] = previous;
    }
}

void readState(DeviceWindow &window)
{
    std::array<char, 1025> state{};
    if (StatusChange(window.stateKind, numberOf(window.device), window.stateCode, state.data())
        == -1) {
        showError(window.stateUnreadable);
        copyText(state, text("LABEL_UNKNOWN_ID"));
    }
    state.back() = '\0';
    newtTextboxSetText(window.parts[window.stateBox], state.data());
}

bool makeComponent(DeviceWindow &window, const Component &component, newtComponent previous)
{
    newtComponent &made = window.parts[component.part];
    switch (component.make) {
    case Make::label: made = newtLabel(-1, -1, text(component.text)); break;
    case Make::button: made = newtButton(-1, -1, text(component.text)); break;
    case Make::compactButton: made = newtCompactButton(-1, -1, text(component.text)); break;
    case Make::firstRadio: made = newtRadiobutton(-1, -1, text(component.text), 1, nullptr); break;
    case Make::nextRadio: made = newtRadiobutton(-1, -1, text(component.text), 0, previous); break;
    case Make::stateBox:
        made = makeStateBox();
        window.stateBox = component.part;
        break;
    case Make::readState: readState(window); break;
    case Make::readMtbfType: return window.readMtbfType(window);
    case Make::typeRadios:
        window.firstTypeRadio = component.part;
        makeTypeRadios(window);
        break;
    }
    return true;
}

// The cell of a row in the window's grid; columns 0 of a row make its component the cell.
Cell cellOfRow(const DeviceWindow &window, const Row &row, int number)
{
    if (row.columns == 0)
        return {0, number, window.parts[row.cells[0].part], row.cells[0].anchor,
                row.cells[0].padding};
    newtGrid grid = newtCreateGrid(row.columns, row.rows);
    for (const RowCell &cell : row.cells)
        if (cell.part >= 0)
            setField(grid, {cell.column, cell.row, window.parts[cell.part], cell.anchor,
                            cell.padding});
    return {0, number, grid, NEWT_ANCHOR_TOP, row.padding};
}

bool makeComponents(DeviceWindow &window, std::span<const Component> components)
{
    window.form = newtForm(nullptr, nullptr, 0);
    newtComponent previous = nullptr;
    for (const Component &component : components) {
        if (component.onlyWithMtbfType && !window.readMtbfType)
            continue;
        if (!makeComponent(window, component, previous))
            return false;
        previous = window.parts[component.part];
    }
    return true;
}

newtGrid makeRows(const DeviceWindow &window, std::span<const Row> rows)
{
    const auto isLeftOut = [&](const Row &row) {
        return row.cells[0].part >= 0 && !window.parts[row.cells[0].part];
    };
    int count = 0;
    for (const Row &row : rows)
        count += isLeftOut(row) ? 0 : 1;
    newtGrid grid = newtCreateGrid(1, count);
    int number = 0;
    for (const Row &row : rows) {
        if (isLeftOut(row))
            continue;
        if (row.cells[0].part >= 0)
            setField(grid, cellOfRow(window, row, number));
        ++number;
    }
    return grid;
}

void addInOrder(const DeviceWindow &window, std::span<const int> parts)
{
    for (const int part : parts)
        if (window.parts[part])
            newtFormAddComponent(window.form, window.parts[part]);
}

// Draws the whole terminal and the form anew, because the operation may have written on the
// screen.
void showSuccess(const DeviceWindow &window)
{
    newtSuspend();
    newtResume();
    newtDrawForm(window.form);
    Success(nameOf(window.device).c_str());
}

void answerFromTables(DeviceWindow &window, const WindowTables &tables, newtComponent pressed)
{
    for (const OperationButton &button : tables.operations)
        if (pressed == window.parts[button.part]
            && Message(nameOf(window.device).c_str(), window.questions[button.question].data()) == 1
            && carryOut(button.operation, window.device, nullptr, &window.detail))
            showSuccess(window);
    for (const RefusingButton &button : tables.refusals)
        if (pressed == window.parts[button.part])
            showError(button.refusal);
}

void answerSetMtbfType(DeviceWindow &window, const Operation &operation)
{
    if (window.mtbfTypeUnavailable) {
        showError("MTBFTYPE_UNAVAILABLE");
        return;
    }
    if (Message(nameOf(window.device).c_str(), text("QUERYWIN_CHANGEMTBFTYPE_ID")) != 1)
        return;
    // Written are other values than read: 0 for what is read as 2.
    const newtComponent *radios = window.parts + window.firstTypeRadio;
    const newtComponent selected = newtRadioGetCurrent(radios[0]);
    const char *type = selected == radios[0] ? "0" : selected == radios[1] ? "1" : "2";
    if (carryOut(operation, window.device, type, &window.detail))
        showSuccess(window);
}

void answer(DeviceWindow &window, const WindowTables &tables, newtComponent pressed)
{
    const auto isPart = [&](int part) { return part >= 0 && pressed == window.parts[part]; };
    if (isPart(tables.setMtbfTypeButton)) {
        answerSetMtbfType(window, *tables.setMtbfType);
    } else if (isPart(tables.refreshButton)) {
        readState(window);
        newtDrawForm(window.form);
        newtRefresh();
    } else {
        answerFromTables(window, tables, pressed);
        if (tables.answer)
            tables.answer(window, pressed);
    }
}

} // namespace

void loadQuestions(DeviceWindow &window, std::initializer_list<TextKey> keys)
{
    Question *question = window.questions;
    for (const TextKey key : keys)
        copyText(*question++, text(key));
}

bool runDeviceWindow(DeviceWindow &window, const WindowTables &tables)
{
    if (!makeComponents(window, tables.components))
        return false;
    newtGrid grid = makeRows(window, tables.rows);
    std::array<char, 256> title;
    copyText(std::span(title).first(tables.titleSize),
             (nameOf(window.device) + " --" + text("WINDOW_TITLE_MRV_ID")).c_str());
    openWindow(window.form, grid, title.data());
    if (tables.freesGrids)
        newtGridFree(grid, 1);
    addInOrder(window, tables.tabOrder);
    for (;;) {
        const newtComponent pressed = runForm(window.form);
        if (!pressed || pressed == window.parts[tables.closeButton])
            break;
        answer(window, tables, pressed);
    }
    if (tables.resumesAtEnd)
        newtResume();
    closeWindow(window.form);
    return true;
}

bool readBoardMtbfType(DeviceWindow &window, int board, unsigned long *size,
                       const char *traceSource, const char *function)
{
    if (!yat_ft_func.yat_ft_get_property) {
        TRACE_ERROR_AS(function, "<function pointer of yat_ft_get_property is NULL.");
        return false;
    }
    std::array<char, propertySize> property{};
    if (yat_ft_func.yat_ft_get_property(YAT_KIND_BOARD, board, YAT_PROPERTY_MTBF_TYPE,
                                        property.data(), size)
        != 0) {
        window.mtbfTypeUnavailable = true;
        showError("MTBFTYPE_UNAVAILABLE");
        copyText(property, text("LABEL_UNKNOWN_ID"));
        return true;
    }
    if (!yat_ft_func.Linux_ConvertDataToInt) {
        TRACE_ERROR_AS(function, "<function pointer of Linux_ConvertDataToInt is NULL.");
        return false;
    }
    property.back() = '\0';
    if (yat_ft_func.Linux_ConvertDataToInt(property.data(), &window.mtbfType) == -1) {
        TRACE_ERROR_AS(function, "Linux_ConvertDataToInt(...) returns -1.");
        return false;
    }
    return true;
}

int runSetMtbfType(yat_device *device, int code, const char *type)
{
    return SetMtbfType(device, code, type);
}

const char *traceNameOf(const yat_device *device)
{
    return device->lpszTreeName ? device->lpszTreeName : "NULL";
}
