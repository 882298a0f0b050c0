// SPDX-License-Identifier: GPL-2.0-or-later
#include "shell/devicetree.h"

#include "base/recordtree.h"
#include "base/tracing.h"
#include "devices/cpusubwin.h"
#include "devices/ethernet.h"
#include "devices/pcisubwin.h"
#include "devices/scsiadapter.h"
#include "dialogs/autowin.h"
#include "dialogs/busyline.h"
#include "dialogs/grid.h"
#include "dialogs/window.h"
#include "platform/device.h"
#include "shell/program.h"
#include "tree/checkboxtree.h"
#include "tree/operations.h"
#include "yat/ft.h"
#include "yat/winshim.h"

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <optional>
#include <span>

static constexpr char traceSource[] = "mrvmain";

int param[8];
newtComponent checktree;
int g_SystemType;

static newtComponent exitButton;
static constexpr int treeGap = 1; // row between the two

// The tree's items have these values; those of the devices need none of their own.
enum NodeValue { rootNode = 1, deviceNode = 100, cpuNode = 101, pciNode = 102 };

static bool isHidden(const yat_device &device)
{
    if (!device.identity)
        return false;
    const int first = device.identity->DevicePathID[0];
    switch (g_SystemType) {
    case YAT_MACHINE_BIRCH: return device.identity->ClassCode == YAT_CLASS_CPU_MODULE && first == 1;
    case YAT_MACHINE_CEDAR: return first == 254;
    }
    return false;
}

// The class of a device, of no device, or of one that nothing is known of.
static std::optional<int> classOf(const yat_device *device)
{
    if (!device || !device->identity)
        return std::nullopt;
    return device->identity->ClassCode;
}

int donothing(yat_device *)
{
    return 0;
}

static ItemCallback windowOf(int classCode)
{
    switch (classCode) {
    case YAT_CLASS_CPU_MODULE: return CpuSubWin;
    case YAT_CLASS_PCI_MODULE: return PciSubWin;
    case YAT_CLASS_SCSI_ADAPTER: return ScsiAdapter;
    case YAT_CLASS_ETHERNET_ADAPTER: return Ethernet;
    }
    return nullptr;
}

static void dump(const yat_device *root)
{
    printf("\n\n################# device data in mrvmain ###############################\n");
    printf("Name:\t\tNextDevNum: Hierarchy: Instance: DevicePathID: \t\t\t "
           "ParentName:\t\tChildName:\n");
    tracetree(root);
}

// Whether the records are a tree, which another walk comes to the end of.
static bool isTree(const yat_device *root)
{
    if (haveEnd(root))
        return true;
    TRACE_AS(YAT_TRACE_ERROR, "EditParameter", "%s.", endlessRecords);
    if (debug_flag)
        say(endlessRecords);
    return false;
}

// Shows the tree of an FT machine; on another there is none to show. The waiting ends with the last
// that the machine is asked before. Returns 0 on failure.
static int showTree(yat_device *root, std::optional<Waiting> &waiting)
{
    constexpr char function[] = "EditParameter";
    g_SystemType = call_yat_is_ft(0);
    waiting.reset();
    switch (g_SystemType) {
    case YAT_MACHINE_QUERY_FAILED:
        TRACE_AS(YAT_TRACE_ERROR, function, "call_yat_is_ft failed in libwinshim.so.");
        return 1;
    case YAT_MACHINE_PLAIN:
        TRACE_AS(YAT_TRACE_PROGRESS, function, "this is not ft server.");
        return 1;
    }
    TRACE_AS(YAT_TRACE_PROGRESS, function, "machine type is:%d[1:ALDER,2:BIRCH,3:CEDAR]",
             g_SystemType);
    return mkTree(root);
}

int EditParameter(void)
{
    std::optional<Waiting> waiting(std::in_place, text("MAIN_TREE_FT_ID"));
    const int opened = ft_FunctionInit();
    TRACE(">");
    if (opened == 0) {
        TRACE_ERROR("<Init keldor I/F by ft_init failed.");
        return 0;
    }
    if (!yat_ft_func.handle) {
        TRACE_ERROR("<handle of /opt/kiv/yatkit/lib/yatcore.dll is NULL.");
        return 0;
    }
    TRACE("get ft function pointer by ft_FunctionInit.");
    yat_device *root = nullptr;
    const int created = CreateTreeViewData(&root);
    // Without success nothing is known of them. A platform can't free what is no tree.
    const bool isWhole = (created == 0 && !debug_flag) || isTree(root);
    if (debug_flag) {
        dump(isWhole ? root : nullptr);
    } else if (created == 0 || !isWhole) {
        waiting.reset();
        msgWindow("Error", " Ok ", text("CREATETREE_ERR_ID"));
        TRACE_ERROR("<Create data structure for tree view failed.");
        return 0;
    } else if (showTree(root, waiting) == 0) {
        FreeTreeViewData(&root);
        TRACE_ERROR("<mkTree(pTreeData) failed.");
        return 0;
    }
    if (isWhole)
        FreeTreeViewData(&root);
    TRACE("<");
    return isWhole ? 1 : 0;
}

static void addFixedNodes()
{
    yat_newtCheckboxTreeAddItem(checktree, text("MAIN_TREE_FT_ID"), rootNode, 0, donothing, nullptr,
                                param[0], NEWT_ARG_LAST);
    yat_newtCheckboxTreeAddItem(checktree, text("MAIN_TREE_CPUMODULE_ID"), cpuNode, 0, donothing,
                                nullptr, param[0], NEWT_ARG_APPEND, NEWT_ARG_LAST);
    yat_newtCheckboxTreeAddItem(checktree, text("MAIN_TREE_PCIMODULE_ID"), pciNode, 0, donothing,
                                nullptr, param[0], NEWT_ARG_APPEND, NEWT_ARG_LAST);
    TRACE_AS(YAT_TRACE_PROGRESS, "mkTree", "Draw device in the first layer ok.");
}

// Adds the top-level devices with all below them. A change of class leads to the next group; it
// is looked for after a device that was added only, so one at a hidden device goes unnoticed. A
// device without identity is of the class of the one before it, and changes nothing.
static int addDevices(const yat_device &root)
{
    const std::span<yat_device *const> devices = childrenOf(&root);
    std::optional<int> classBefore;
    for (size_t i = 0; i < devices.size(); ++i) {
        yat_device *device = devices[i];
        const bool isOfClassBefore = classOf(device) && classOf(device) == classBefore;
        if (classOf(device))
            classBefore = classOf(device);
        if (device && isHidden(*device)) {
            TRACE_AS(YAT_TRACE_PROGRESS, "mkTree", "get an invalid device %s.",
                     traceNameOf(device));
            continue;
        }
        if (isOfClassBefore)
            param[2] = device->identity->Instance - 1;
        if (mkItem(device, 2) == 0)
            return 0;
        const std::optional<int> classBehind =
            i + 1 < devices.size() ? classOf(devices[i + 1]) : std::nullopt;
        if (classBefore && classBehind && classBefore != classBehind) {
            param[1] += 1;
            std::fill(std::begin(param) + 2, std::end(param), 0);
            TRACE_AS(YAT_TRACE_PROGRESS, "mkTree", "Param[1]:\t%d", param[1]);
        }
    }
    return 1;
}

// On a small screen the tree shows less of itself, so that the button below it stays in sight.
static void fitTree(int columns, int rows)
{
    limitCheckboxTree(checktree, columns, std::max(rows - treeGap - exitButton->height, 1));
}

int mkTree(yat_device *treeDatap)
{
    TRACE(">[IN]treeDatap=%p", static_cast<void *>(treeDatap));
    if (!treeDatap) {
        TRACE_ERROR("<treeDatap is NULL!");
        return 0;
    }
    checktree = yat_newtCheckboxTreeMulti(-1, -1, 12, " ", NEWT_FLAG_SCROLL);
    addFixedNodes();
    if (addDevices(*treeDatap) == 0) {
        TRACE_ERROR("<mkItem(...) to draw brance for devices failed.");
        return 0;
    }

    exitButton = newtButton(-1, -1, text("BUTTON_EXIT_ID"));
    const Grid grid = {1,
                       2,
                       {{0, 0, checktree, NEWT_ANCHOR_TOP, {.bottom = treeGap}},
                        {0, 1, exitButton, NEWT_ANCHOR_TOP}}};
    newtGrid newts = makeNewtGrid(grid);
    newtComponent form = newtForm(nullptr, nullptr, 0);
    newtFormAddComponent(form, checktree);
    newtFormAddComponent(form, exitButton);
    openWindow(form, grid, newts, text("WINDOW_TITLE_MRV_ID"), GridEnd::freed, fitTree);
    addHotKeys(form);

    newtComponent left;
    do
        left = runForm(form);
    while (left && left != exitButton);
    leaveWindow(form);
    TRACE("<Finished drawing all branches of tree,ok.");
    return 1;
}

int mkItem(yat_device *datap, int level)
{
    TRACE(">");
    if (!datap) {
        TRACE_ERROR("<[IN]datap is NULL when enter mkItem");
        return 0;
    }
    TRACE("[IN]datap=%p level=%d", static_cast<void *>(datap), level);
    TreeDrawItem(datap);
    int position = 0;
    for (yat_device *child : childrenOf(datap)) {
        if (level + 1 < static_cast<int>(std::size(param)))
            param[level + 1] = position;
        ++position;
        TRACE("param for device %s goes here:", traceNameOf(child));
        for (int i = 0; i < static_cast<int>(std::size(param)); ++i)
            TRACE("param[%d]:\t%d.", i, param[i]);
        if (mkItem(child, level + 1) == 0) {
            TRACE_ERROR("<mkItem failed.");
            return 0;
        }
    }
    TRACE("<");
    return 1;
}

// Adds the node below the one that param leads to. Returns false for a level that the tree has
// not.
static bool addNode(yat_device *datap, ItemCallback window)
{
    const char *name = datap->lpszTreeName;
    switch (datap->Hierarchy) {
    case 1:
        yat_newtCheckboxTreeAddItem(checktree, name, deviceNode, 0, window, datap, param[0],
                                    param[1], NEWT_ARG_APPEND, NEWT_ARG_LAST);
        return true;
    case 2:
        yat_newtCheckboxTreeAddItem(checktree, name, deviceNode, 0, window, datap, param[0],
                                    param[1], param[2], NEWT_ARG_APPEND, NEWT_ARG_LAST);
        return true;
    case 3:
        yat_newtCheckboxTreeAddItem(checktree, name, deviceNode, 0, window, datap, param[0],
                                    param[1], param[2], param[3], NEWT_ARG_APPEND, NEWT_ARG_LAST);
        return true;
    }
    return false;
}

void TreeDrawItem(yat_device *datap)
{
    TRACE(">");
    if (!datap || !datap->lpszTreeName || datap->Hierarchy == 0 || !datap->identity) {
        TRACE_ERROR("<[IN]param error. datap is NULL.");
        return;
    }
    if (datap->identity->Instance == 0) {
        TRACE_ERROR("<no such kind of device:%s.", datap->lpszTreeName);
        return;
    }
    const int classCode = datap->identity->ClassCode;
    if (classCode == YAT_CLASS_NONE || classCode == YAT_CLASS_RESERVED) {
        TRACE_ERROR("<classname :%d not in the classtable.", classCode);
        return;
    }
    const ItemCallback window = windowOf(classCode);
    if (!window) {
        TRACE("<class :%d don't have a function pointer .", classCode);
        return;
    }
    if (!addNode(datap, window)) {
        msgWindow("Error", " ok ", text("TREEDRAW_ERR_ID"));
        TRACE_ERROR("error happen when drawing the tree.");
    }
    TRACE("<");
}

void tracetree(const yat_device *record)
{
    if (!record)
        return;
    printf("N:%-24s%-8dH:%-4d", showable(record->lpszTreeName ? record->lpszTreeName : "").c_str(),
           record->NextDevNum, record->Hierarchy);
    if (record->identity) {
        printf("I:%-4d", record->identity->Instance);
        printf("ID:");
        for (const unsigned byte : record->identity->DevicePathID)
            printf("%-3u ", byte);
    }
    if (record->parent)
        printf("P:%-20s", showable(traceNameOf(record->parent)).c_str());
    const std::span<yat_device *const> children = childrenOf(record);
    if (!children.empty())
        printf("C:%-20s", showable(traceNameOf(children[0])).c_str());
    printf("\n");
    for (const yat_device *child : children)
        tracetree(child);
}
