// SPDX-License-Identifier: GPL-2.0-or-later
// Where the devices of the shipped machines stand in the tree, and where the buttons stand in
// their windows.
#pragma once

#include "session.h"

struct Device {
    const char *name; // as in the tree
    std::string path; // keys from the root of the collapsed tree to the device
};

// On the shipped machines.
extern const Device cpuModule;       // CPU module 1
extern const Device secondCpuModule; // CPU module 2
extern const Device pciModule;       // PCI module 1
extern const Device secondPciModule; // PCI module 2
extern const Device scsiAdapter;     // SCSI adapter 1
extern const Device ethernetAdapter; // Ethernet adapter 1 of CEDAR and ALDER

// A device's name of 127 bytes, in characters that are two columns wide but the first.
std::string wideName();

// Opens the window of a device from the collapsed tree.
void open(Session &session, const Device &device);
void openJapanese(Session &session, const Device &device);

// Presses the button that so many Tabs lead to.
void press(Session &session, int tabs);

// A text as a part of a test's name.
std::string inTestName(std::string text);
