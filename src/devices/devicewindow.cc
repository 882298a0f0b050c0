// SPDX-License-Identifier: GPL-2.0-or-later
#include "devices/devicewindow.h"

#include "dialogs/autowin.h"
#include "dialogs/busyline.h"
#include "dialogs/components.h"
#include "dialogs/window.h"
#include "platform/device.h"
#include "platform/property.h"

#include <algorithm>
#include <array>
#include <optional>
#include <tuple>
#include <utility>

namespace {

newtComponent makeWidget(const Component &component, newtComponent previous)
{
    constexpr int stateColumns = 19, stateRows = 2;
    switch (component.widget) {
    case Widget::label: return makeLabel(text(component.text));
    case Widget::button: return newtButton(-1, -1, text(component.text));
    case Widget::compactButton: return newtCompactButton(-1, -1, text(component.text));
    case Widget::firstRadio: return makeRadio(text(component.text), true, nullptr);
    case Widget::nextRadio: return makeRadio(text(component.text), false, previous);
    case Widget::stateBox: return makeTextbox(stateColumns, stateRows, NEWT_FLAG_WRAP);
    }
    return nullptr;
}

// Reads the MTBF type, which stays as it is when that fails: then an error box says so. False when
// the platform can't be asked or answers with no number.
bool readMtbfType(DeviceWindow &window, int *type)
{
    unsigned long size = 1025;
    int board = 0;
    if (!window.kind.mtbfType->findBoard(window.device, &size, &board))
        return false;
    const TraceOrigin &origin = window.kind.origin;
    PropertyText property;
    switch (
        readProperty(origin, {YAT_KIND_BOARD, board, YAT_PROPERTY_MTBF_TYPE}, &size, property)) {
    case Reading::done:
        return convertProperty(origin, property, "Linux_ConvertDataToInt(...) returns -1.", type);
    case Reading::refused:
        window.mtbfTypeUnavailable = true;
        replaceUnreadable(property, "MTBFTYPE_UNAVAILABLE");
        return true;
    case Reading::impossible: break;
    }
    return false;
}

// The radio buttons of the MTBF type: the one for the type read is selected, none for another.
bool makeTypeRadios(DeviceWindow &window)
{
    constexpr TextKey texts[] = {"LABEL_SETMTBFTYPE1_ID", "LABEL_SETMTBFTYPE2_ID",
                                 "LABEL_SETMTBFTYPE3_ID"};
    int type = 0, typeOfButton = YAT_MTBF_TYPE_READ_ABOVE;
    if (!readMtbfType(window, &type))
        return false;
    newtComponent *radio = window.parts + window.kind.mtbfType->firstRadio;
    newtComponent previous = nullptr;
    for (const TextKey key : texts)
        *radio++ = previous = makeRadio(text(key), type == typeOfButton++, previous);
    return true;
}

bool isOfMtbfType(const WindowKind &kind, int part)
{
    return kind.mtbfType && (part == kind.mtbfType->label || part == kind.mtbfType->setButton);
}

bool makeComponents(DeviceWindow &window)
{
    const WindowKind &kind = window.kind;
    window.form = newtForm(nullptr, nullptr, 0);
    newtComponent previous = nullptr;
    for (const Component &component : kind.components) {
        if (isOfMtbfType(kind, component.part) && !window.hasMtbfType)
            continue;
        previous = window.parts[component.part] = makeWidget(component, previous);
        if (kind.state && component.part == kind.state->readAfter)
            showState(window);
    }
    return !window.hasMtbfType || makeTypeRadios(window);
}

// The cell of a row in the window's grid; columns 0 of a row make its component the cell.
Cell cellOfRow(const DeviceWindow &window, const Row &row, int number)
{
    if (row.columns == 0)
        return {0, number, window.parts[row.cells[0].part], row.cells[0].anchor,
                row.cells[0].padding};
    Grid grid = {row.columns, row.rows, {}};
    for (const RowCell &cell : row.cells)
        if (cell.part >= 0)
            grid.cells.push_back(
                {cell.column, cell.row, window.parts[cell.part], cell.anchor, cell.padding});
    return {0, number, grid, NEWT_ANCHOR_TOP, row.padding};
}

Grid makeRows(const DeviceWindow &window)
{
    const auto isShown = [&](const Row &row) {
        return row.cells[0].part < 0 || window.parts[row.cells[0].part];
    };
    const std::span<const Row> rows = window.kind.rows;
    Grid grid = {1, static_cast<int>(std::ranges::count_if(rows, isShown)), {}};
    int number = 0;
    for (const Row &row : rows) {
        if (!isShown(row))
            continue;
        if (row.cells[0].part >= 0)
            grid.cells.push_back(cellOfRow(window, row, number));
        ++number;
    }
    return grid;
}

using Components = std::array<newtComponent, mostParts>; // up to the first null

void addComponents(newtComponent form, const Components &components)
{
    std::apply([form](auto... each) { newtFormAddComponents(form, each..., nullptr); }, components);
}

void addInTabOrder(const DeviceWindow &window)
{
    Components together{};
    size_t count = 0;
    for (const int part : window.kind.tabOrder) {
        if (part != nextCall && window.parts[part])
            together[count++] = window.parts[part];
        if (part == nextCall && window.hasMtbfType) {
            addComponents(window.form, std::exchange(together, {}));
            count = 0;
        }
    }
    addComponents(window.form, together);
}

void openDeviceWindow(const DeviceWindow &window)
{
    std::array<char, 256> title;
    copyText(std::span(title).first(window.kind.titleSize),
             (nameOf(window.device) + " --" + text("WINDOW_TITLE_MRV_ID")).c_str());
    openWindow(window.form, makeRows(window), title.data(),
               window.kind.freesGrids ? GridEnd::freed : GridEnd::kept);
    addInTabOrder(window);
}

void press(DeviceWindow &window, newtComponent pressed)
{
    for (const Button &button : window.kind.buttons)
        if (pressed == window.parts[button.part])
            return button.action(window, button);
}

void fetchQuestions(DeviceWindow &window)
{
    Question *question = window.questions;
    for (const TextKey key : window.kind.questions)
        copyText(*question++, text(key));
}

} // namespace

int runDeviceWindow(const WindowKind &kind, yat_device *device)
{
    std::optional<Waiting> waiting(std::in_place, nameOf(device));
    const bool hasMtbfType = kind.mtbfType && call_yat_is_ft(0) == YAT_MACHINE_CEDAR;
    const auto trace = [&](const char *format, auto... values) {
        TraceLog(YAT_TRACE_PROGRESS, kind.origin.source, kind.origin.function, kind.origin.line,
                 format, values...);
    };
    trace(kind.opening.record, static_cast<void *>(device));
    DeviceWindow window{.kind = kind, .device = device, .hasMtbfType = hasMtbfType};
    fetchQuestions(window);
    trace(kind.opening.numbers, numberOf(device), kind.classCode);
    trace(kind.opening.name, traceNameOf(device));
    if (!makeComponents(window))
        return 0;
    openDeviceWindow(window);
    waiting.reset();
    while (!window.isClosed) {
        const newtComponent pressed = runForm(window.form);
        if (!pressed)
            break;
        press(window, pressed);
    }
    if (kind.resumesAtEnd)
        newtResume();
    closeWindow(window.form);
    trace("%s", "<");
    return 0;
}

void showState(DeviceWindow &window)
{
    const StateText &state = *window.kind.state;
    std::array<char, 1025> buffer{};
    if (StatusChange(state.kind, numberOf(window.device), state.code, buffer.data()) == -1)
        replaceUnreadable(buffer, state.unreadable);
    buffer.back() = '\0';
    setText(window.parts[state.box], buffer.data());
}
