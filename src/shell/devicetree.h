// SPDX-License-Identifier: GPL-2.0-or-later
// The device tree: its nodes from the platform's device data, its window, its dump.
#pragma once

#include "yat/device.h"

#include <newt.h>

#pragma GCC visibility push(default)
extern "C" {

extern int param[8];            // tree path of the device that is being added
extern newtComponent checktree; // the device tree
extern int g_SystemType;        // the machine type, YAT_MACHINE_...

// The callback of the tree's nodes that stand for no device.
int donothing(yat_device *record);

// The whole run of the device tree. Returns 1, also on a machine that is no FT server, and 0 on
// failure.
int EditParameter(void);

// Builds the tree's window and runs it until the user leaves it. Returns 1, or 0 on failure.
int mkTree(yat_device *treeDatap);

// Adds a device and those below it, whose level it is given. Returns 1, or 0 when the record or
// one below is null.
int mkItem(yat_device *datap, int level);

// Adds one device, or traces why not.
void TreeDrawItem(yat_device *datap);

// Prints a device and those below it.
void tracetree(const yat_device *record);

} // extern "C"
#pragma GCC visibility pop
