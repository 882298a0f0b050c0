// SPDX-License-Identifier: GPL-2.0-or-later
// The windows of the device classes. A kind of window is told as tables: its components, its rows,
// the order of the Tab key, and what its buttons do. One function runs them all.
#pragma once

#include "base/tracing.h"
#include "dialogs/grid.h"
#include "dialogs/operation.h"
#include "text/displaytext.h"

#include <newt.h>
#include <optional>
#include <span>

enum class Widget {
    label,
    button,
    compactButton,
    firstRadio, // begins a group and is selected
    nextRadio,  // joins the group of the component made before it
    stateBox,   // for the state of the module
};

// One component; a table holds them in the order in which they are made.
struct Component {
    int part; // the window's number for it
    Widget widget;
    TextKey text{};
};

// Anchors, short enough for tables.
enum Anchor { left = NEWT_ANCHOR_LEFT, right = NEWT_ANCHOR_RIGHT, top = NEWT_ANCHOR_TOP };

struct RowCell {
    int column = 0, row = 0;
    int part = -1;
    int anchor = 0;
    Padding padding{};
};

// One row of a window: a grid of cells, or a component by itself where it has no columns. A row
// whose components the machine's window does not have is left out; one without cells stays empty.
struct Row {
    int columns = 0, rows = 0;
    RowCell cells[3]{};
    Padding padding{}; // around the grid
};

constexpr Row alone(int part, Anchor anchor, Padding padding = {})
{
    return {.cells = {{.part = part, .anchor = anchor, .padding = padding}}};
}

struct DeviceWindow;
struct Button;
using Action = void(DeviceWindow &window, const Button &button);

// One button: its action, one of those in actions.h, and what that needs.
struct Button {
    int part;
    Action *action;
    const Operation *operation = nullptr;
    int support = 0;   // the operation's support code for devices of this class
    int question = -1; // its number
    int (*opens)(yat_device *device) = nullptr;
};

// The state of a module as StatusChange gives it.
struct StateText {
    int kind, code; // YAT_KIND_..., YAT_STATE_...
    int box;        // the part that shows it
    int readAfter;  // read for the first time when this part has been made
    TextKey unreadable;
};

// The MTBF type of a module, which the windows have on CEDAR only: a label, a button, and the radio
// buttons of the three types, which are made behind all other components.
struct MtbfTypeGroup {
    int label, setButton, firstRadio; // parts
    // Finds the board that has the type. False when the window can't be opened without it. size is
    // the one that the type is read with next.
    bool (*findBoard)(const yat_device *device, unsigned long *size, int *board);
};

// What the window writes to the trace log when it opens: printf formats.
struct OpeningRecords {
    const char *record;  // of the record's address
    const char *numbers; // of the device's number and the class code
    const char *name;    // of the device's name
};

constexpr int mostParts = 32, mostQuestions = 8;

// In the order of Tab: where a window with the MTBF type begins another call for the form.
constexpr int nextCall = -1;

struct WindowKind {
    TraceOrigin origin;
    OpeningRecords opening;
    int classCode;
    std::span<const TextKey> questions; // fetched when the window opens, in this order
    std::span<const Component> components;
    std::span<const Row> rows;
    std::span<const int> tabOrder;
    std::span<const Button> buttons;
    std::optional<StateText> state{};
    std::optional<MtbfTypeGroup> mtbfType{};
    size_t titleSize = 256; // bytes, at most that
    bool freesGrids = false;
    bool resumesAtEnd = false;
};

// A device window that is open or being opened.
struct DeviceWindow {
    const WindowKind &kind;
    yat_device *device;
    newtComponent form = nullptr;
    newtComponent parts[mostParts]{}; // null for what the machine's window does not have
    Question questions[mostQuestions]{};
    bool hasMtbfType = false, mtbfTypeUnavailable = false;
    bool isClosed = false;
};

// Gives the kind back. One whose tables do not fit together does not compile.
consteval WindowKind checked(const WindowKind &kind)
{
    const auto isComponent = [&](int part) {
        for (const Component &component : kind.components)
            if (component.part == part)
                return true;
        return false;
    };
    const auto isMade = [&](int part) {
        return isComponent(part)
               || (kind.mtbfType && part >= kind.mtbfType->firstRadio
                   && part < kind.mtbfType->firstRadio + 3);
    };
    const auto expect = [](bool holds, const char *complaint) {
        if (!holds)
            throw complaint;
    };
    expect(kind.questions.size() <= mostQuestions, "too many questions");
    for (const Component &component : kind.components)
        expect(component.part >= 0 && component.part < mostParts, "a part without a place");
    expect(!kind.mtbfType || kind.mtbfType->firstRadio + 3 <= mostParts, "a part without a place");
    expect(!kind.mtbfType
               || (isComponent(kind.mtbfType->label) && isComponent(kind.mtbfType->setButton)),
           "an MTBF type without its label or its button");
    expect(!kind.state || (isComponent(kind.state->box) && isComponent(kind.state->readAfter)),
           "a state without its box");
    for (const Row &row : kind.rows)
        for (const RowCell &cell : row.cells)
            expect(cell.part < 0 || isMade(cell.part), "a row with a part that nobody makes");
    for (const int part : kind.tabOrder)
        expect(part == nextCall || isMade(part), "a part in the order of Tab that nobody makes");
    for (const Button &button : kind.buttons) {
        expect(button.part >= 0 && button.part < mostParts, "a button without a place");
        expect(button.question < static_cast<int>(kind.questions.size()), "an unknown question");
        expect(button.question < 0
                   || (button.operation && button.operation->failed.name && button.support),
               "a question about nothing");
    }
    return kind;
}

// Builds the window for a device and runs it until it is closed. It is given up, and left as far
// as it was made, when the MTBF type can't be asked for. The result has no meaning.
int runDeviceWindow(const WindowKind &kind, yat_device *device);

// Reads the state and shows it, or that it is unknown.
void showState(DeviceWindow &window);
