// SPDX-License-Identifier: GPL-2.0-or-later
// Shows one piece of the dialog toolkit, named by TOOLKIT in the environment, with TOOLKIT_TITLE
// and TOOLKIT_TEXT where it takes them. What comes out of it goes to the trace log.
#include "base/tracing.h"
#include "devices/cpusubwin.h"
#include "devices/ethernet.h"
#include "devices/pcisubwin.h"
#include "devices/scsiadapter.h"
#include "dialogs/autowin.h"
#include "dialogs/grid.h"
#include "dialogs/message.h"
#include "dialogs/success.h"
#include "dialogs/window.h"
#include "shell/devicetree.h"
#include "shell/mrvmain.h"
#include "shell/program.h"
#include "system/firmware.h"
#include "system/fmupdate.h"
#include "tree/checkboxtree.h"
#include "tree/component.h"
#include "tree/operations.h"
#include "yat/ft.h"
#include "yat/winshim.h"

#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

static constexpr char traceSource[] = "toolkit";

namespace {

const char *variable(const char *name)
{
    return getenv(name);
}

int number(const char *name)
{
    return variable(name) ? atoi(variable(name)) : 0;
}

using Choose = newtComponent (*)(const char *, const char *, newtComponent *, int);

void choose(Choose chooser)
{
    newtComponent buttons[] = {newtButton(-1, -1, "One"), newtCompactButton(-1, -1, "Two"),
                               newtButton(-1, -1, "Three")};
    const int count = variable("TOOLKIT_COUNT") ? number("TOOLKIT_COUNT") : 3;
    const newtComponent chosen =
        chooser(variable("TOOLKIT_TITLE"), variable("TOOLKIT_TEXT"), buttons, count);
    const char *name = !chosen                ? "null"
                       : chosen == buttons[0] ? "One"
                       : chosen == buttons[1] ? "Two"
                       : chosen == buttons[2] ? "Three"
                                              : "the form";
    TRACE("chosen: %s", name);
}

// A form as the field helpers are meant for: a check box that controls two entries of numbers, and
// one that controls two check boxes; a third field of each kind is controlled by none.
void showFields()
{
    newtComponent form = newtForm(nullptr, nullptr, 0);
    char entriesOn, boxesOn, ignored[3];
    newtComponent entrySwitch = newtCheckbox(-1, -1, "Entries", '*', " *", &entriesOn);
    newtComponent boxSwitch = newtCheckbox(-1, -1, "Boxes", '*', " *", &boxesOn);
    newtComponent entries[3], boxes[3];
    Grid grid = {1, 9, {}};
    grid.cells.push_back({0, 0, entrySwitch, NEWT_ANCHOR_LEFT});
    grid.cells.push_back({0, 4, boxSwitch, NEWT_ANCHOR_LEFT});
    for (int i = 0; i < 3; ++i) {
        entries[i] = newtEntry(-1, -1, "", 10, nullptr, NEWT_FLAG_SCROLL);
        newtEntrySetFilter(entries[i], EntryNumricFilter, nullptr);
        grid.cells.push_back({0, 1 + i, entries[i], NEWT_ANCHOR_LEFT});
        boxes[i] = newtCheckbox(-1, -1, "box", ' ', " *", &ignored[i]);
        grid.cells.push_back({0, 5 + i, boxes[i], NEWT_ANCHOR_LEFT});
    }
    newtComponent close = newtButton(-1, -1, "Close");
    grid.cells.push_back({0, 8, close, NEWT_ANCHOR_TOP});

    CheckStruct = {.components = entries, .first = 0, .last = 1, .state = &entriesOn};
    CheckboxStruct = {.components = boxes, .first = 1, .last = 2, .state = &boxesOn};
    newtComponentAddCallback(entrySwitch, CheckButtonFunc, nullptr);
    newtComponentAddCallback(boxSwitch, CheckBoxFunc, nullptr);

    openWindow(form, grid, "Fields", GridEnd::freed);
    newtFormAddComponents(form, entrySwitch, entries[0], entries[1], entries[2], boxSwitch,
                          boxes[0], boxes[1], boxes[2], close, nullptr);
    while (runForm(form) != close)
        continue;
    TRACE("entries: %s %s %s", newtEntryGetValue(entries[0]), newtEntryGetValue(entries[1]),
          newtEntryGetValue(entries[2]));
    closeWindow(form);
}

newtComponent shownTree;

void fitTree(int columns, int rows)
{
    limitCheckboxTree(shownTree, columns, rows);
}

// A tree of TOOLKIT_HEIGHT rows with TOOLKIT_COUNT items in one another, expanded, and a leaf after
// each but the topmost. All are named TOOLKIT_TEXT.
void showTree()
{
    newtComponent form = newtForm(nullptr, nullptr, 0);
    newtComponent tree = yat_newtCheckboxTree(-1, -1, number("TOOLKIT_HEIGHT"), NEWT_FLAG_SCROLL);
    std::vector<int> path;
    for (int i = 0; i < number("TOOLKIT_COUNT"); ++i) {
        for (int position = 0; position <= (i > 0); ++position) {
            path.insert(path.end(), {position, NEWT_ARG_LAST});
            yat_newtCheckboxTreeAddArray(tree, variable("TOOLKIT_TEXT"), i + 1, nullptr, nullptr,
                                         NEWT_FLAG_SELECTED, path.data());
            path.resize(static_cast<size_t>(i));
        }
        path.push_back(0);
    }
    newtComponent close = newtButton(-1, -1, "Close");
    const Grid grid = {
        1, 2, {{0, 0, tree, NEWT_ANCHOR_TOP}, {0, 1, close, NEWT_ANCHOR_TOP, {.top = 1}}}};
    shownTree = tree;
    openWindow(form, grid, makeNewtGrid(grid), "Tree", GridEnd::kept, fitTree);
    newtFormAddComponents(form, tree, close, nullptr);
    while (runForm(form) != close)
        continue;
    closeWindow(form);
}

// The window of TOOLKIT_COUNT, a class code, for a device that has no name; for one of which
// nothing is known where that is 0.
void showNameless()
{
    yat_identity identity{1, number("TOOLKIT_COUNT"), {}};
    yat_device device{};
    device.identity = &identity;
    ft_FunctionInit();
    switch (identity.ClassCode) {
    case YAT_CLASS_CPU_MODULE: CpuSubWin(&device); break;
    case YAT_CLASS_PCI_MODULE: PciSubWin(&device); break;
    case YAT_CLASS_SCSI_ADAPTER: ScsiAdapter(&device); break;
    case YAT_CLASS_ETHERNET_ADAPTER: Ethernet(&device); break;
    case YAT_CLASS_NONE: device.identity = nullptr; Ethernet(&device);
    }
}

// What is done with no name, no device, and no screen.
void showNothing()
{
    usage(nullptr);
    TreeDrawItem(nullptr);
    tracetree(nullptr);
    NewtStartUp();
}

// A tree, or in dump mode a dump, of a device that has children by its count alone, or with a
// TOOLKIT_COUNT below zero none by its count alone.
void showCountOnly()
{
    yat_identity identity{1, YAT_CLASS_CPU_MODULE, {}};
    char name[] = "CPU 1";
    yat_device device{};
    device.NextDevNum = 3;
    device.Hierarchy = 1;
    device.lpszTreeName = name;
    device.identity = &identity;
    yat_device *children[] = {&device};
    if (number("TOOLKIT_COUNT") < 0) {
        device.NextDevNum = number("TOOLKIT_COUNT");
        device.children = children;
    }
    if (debug_flag)
        return tracetree(&device);
    yat_device root{};
    root.NextDevNum = 1;
    root.children = children;
    mkTree(&root);
}

// What the field helpers do for each state and range, and for each key.
void tryControls()
{
    TRACE("zero: %d %d", !CheckStruct.components && !CheckStruct.state && !CheckStruct.first,
          !CheckboxStruct.components && !CheckboxStruct.state && !CheckboxStruct.last);
    newtComponent fields[] = {newtEntry(-1, -1, "", 3, nullptr, 0),
                              newtCheckbox(-1, -1, "", ' ', nullptr, nullptr)};
    char state = ' ';
    const auto tryAll = [&](int first, int last) {
        CheckStruct = {.components = fields, .first = first, .last = last, .state = &state};
        CheckboxStruct = {.components = fields + 1, .first = first, .last = last, .state = &state};
        CheckButtonFunc(nullptr, nullptr);
        CheckBoxFunc(nullptr, nullptr);
        TRACE("state %d from %d to %d: %d %d", state, first, last, fields[0]->takesFocus,
              fields[1]->takesFocus);
    };
    tryAll(1, 0);
    tryAll(0, 0);
    for (const char other : {'x', '\0', '*'}) {
        state = ' ';
        tryAll(0, 0);
        state = other;
        tryAll(0, 0);
    }
    state = ' ';
    CheckStruct = {.components = nullptr, .first = 0, .last = 0, .state = &state};
    CheckboxStruct = {.components = fields + 1, .first = 0, .last = 0, .state = nullptr};
    for (const newtComponent field : fields)
        field->takesFocus = 0;
    CheckButtonFunc(nullptr, nullptr);
    CheckBoxFunc(nullptr, nullptr);
    TRACE("halves: %d %d", fields[0]->takesFocus, fields[1]->takesFocus);
    std::string accepted;
    for (int key = -0x100; key < 0x9000; ++key)
        if (const int result = EntryNumricFilter(nullptr, nullptr, key, 0))
            accepted += (result == key ? " " : " other than ") + std::to_string(key);
    TRACE("keys:%s", accepted.c_str());
    for (const newtComponent field : fields)
        newtComponentDestroy(field);
}

int runProgram()
{
    const std::string_view piece = variable("TOOLKIT");
    const char *title = variable("TOOLKIT_TITLE"), *message = variable("TOOLKIT_TEXT");
    if (piece == "msgWindow")
        msgWindow(title, " ok ", message);
    else if (piece == "msgWindowEx")
        msgWindowEx(title, " ok ", message);
    else if (piece == "Message")
        TRACE("answer: %d", Message(title, message));
    else if (piece == "Success")
        Success(title);
    else if (piece == "SelectFromButtons")
        choose(SelectFromButtons);
    else if (piece == "SelectFromButtonsEx")
        choose(SelectFromButtonsEx);
    else if (piece == "fields")
        showFields();
    else if (piece == "tree")
        showTree();
    else if (piece == "FMUpdate")
        FMUpdate(nullptr);
    else if (piece == "suspend")
        suspend(nullptr);
    else if (piece == "noRevision")
        TRACE("answer: %d", Get_BMC_FWRevision(nullptr));
    else if (piece == "nameless")
        showNameless();
    else if (piece == "nothing")
        showNothing();
    else if (piece == "countOnly")
        showCountOnly();
    else if (piece == "names")
        for (int i = 0; i < YAT_CLASS_NAMES; ++i)
            TRACE("%d %s %zu", g_pClassNameList[i], TreeViewNametbl[i], sizeof TreeViewNametbl[i]);
    else if (piece == "controls")
        tryControls();
    else
        return 0;
    return 1;
}

} // namespace

const Program program = {
    .run = runProgram, .failure = nullptr, .data = "", .alwaysReleases = false};
