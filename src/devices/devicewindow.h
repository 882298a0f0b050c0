// What the windows of the device classes share. A window is told as tables: its components, its
// rows, the order of the Tab key, and what its buttons do.
#pragma once

#include "dialogs/grid.h"
#include "platform/operation.h"
#include "text/display.h"
#include "text/keys.h"

#include <newt.h>
#include <span>

// How a component is made. The last three are steps between the components.
enum class Make {
    label,
    button,
    compactButton,
    firstRadio, // begins a group and is selected
    nextRadio,  // joins the group of the component made before it
    stateBox,   // the text box for the module's state
    readState,
    readMtbfType,
    typeRadios, // the group of three for the MTBF type
};

// One component; a table holds them in the order in which they are made.
struct Component {
    int part; // the window's number for it
    Make make;
    TextKey text = "LABEL_UNKNOWN_ID";
    bool onlyWithMtbfType = false;
};
constexpr bool onlyWithMtbfType = true;

// Anchors, short enough for tables.
enum Anchor { left = NEWT_ANCHOR_LEFT, right = NEWT_ANCHOR_RIGHT, top = NEWT_ANCHOR_TOP };

struct RowCell {
    int column = 0, row = 0;
    int part = -1;
    int anchor = 0;
    Padding padding{};
};

// One row of a window: a grid of cells, or a component by itself where it has no columns. A row
// whose components this layout does not have is left out; one without cells stays empty.
struct Row {
    int columns = 0, rows = 0;
    RowCell cells[3]{};
    Padding padding{}; // around the grid
};

// A button that asks a question, by its number, and carries an operation out.
struct OperationButton {
    int part;
    int question;
    Operation operation;
};

// A button that only says that the machine does not support what it stands for.
struct RefusingButton {
    int part;
    TextKey refusal;
};

// A device window that is open or being opened.
struct DeviceWindow {
    static constexpr int mostParts = 32;

    yat_device *device;
    newtComponent form = nullptr;
    newtComponent parts[mostParts]{}; // null for what this layout does not have
    Question questions[5]{};
    int detail = 0; // what IfSupport says

    // Of a module:
    int stateKind = 0, stateCode = 0;
    TextKey stateUnreadable = "LABEL_UNKNOWN_ID";
    int stateBox = -1;                              // its part
    bool (*readMtbfType)(DeviceWindow &) = nullptr; // see readBoardMtbfType; null: has none
    bool mtbfTypeUnavailable = false;
    int mtbfType = 0;       // as read: 2, 3 or 4
    int firstTypeRadio = 0; // the part of the first of the three
};

// A kind of device window.
struct WindowTables {
    std::span<const Component> components;
    std::span<const Row> rows;
    std::span<const int> tabOrder;
    std::span<const OperationButton> operations;
    std::span<const RefusingButton> refusals;
    int closeButton;
    int refreshButton = -1;
    int setMtbfTypeButton = -1;
    const Operation *setMtbfType = nullptr;
    // Answers a button that is in none of the tables.
    void (*answer)(DeviceWindow &window, newtComponent pressed) = nullptr;
    size_t titleSize = 256; // bytes, at most that
    bool freesGrids = false;
    bool resumesAtEnd = false;
};

// Copies the texts of the questions into the window, in the order of their numbers.
void loadQuestions(DeviceWindow &window, std::initializer_list<TextKey> keys);

// Builds the window and runs it until it is closed. False when a step of its building failed that
// gives the window up; what was made so far is then left as it is.
bool runDeviceWindow(DeviceWindow &window, const WindowTables &tables);

// Reads the MTBF type of a board. Where that fails, an error box says so and the window goes
// without it. False, with a trace record of the named function, when the platform can't be asked
// or answers with no number. size is the length given to the read.
bool readBoardMtbfType(DeviceWindow &window, int board, unsigned long *size, const char *source,
                       const char *function);

// What Operation::run is for SetMtbfType.
int runSetMtbfType(yat_device *device, int code, const char *type);

// The device's name for a trace record.
const char *traceNameOf(const yat_device *device);
