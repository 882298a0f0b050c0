// SPDX-License-Identifier: GPL-2.0-or-later
#include "navigation.h"

#include <algorithm>

using namespace keys;

const Device cpuModule = {"CPU module 1", space + down + space + down};
const Device secondCpuModule = {"CPU module 2", cpuModule.path + down};
const Device pciModule = {"PCI module 1", space + down + down + space + down};
const Device secondPciModule = {"PCI module 2", pciModule.path + down};
const Device scsiAdapter = {"SCSI adapter 1", space + down + down + space + down + space + down};
const Device ethernetAdapter = {"Ethernet adapter 1",
                                space + down + down + space + down + space + down + down};

std::string wideName()
{
    std::string name = "n";
    for (int i = 0; i < 42; ++i)
        name += "漢";
    return name;
}

void open(Session &session, const Device &device)
{
    session.see("Exit");
    session.send(device.path + enter);
    session.see(std::string("┤ ") + device.name);
}

void openJapanese(Session &session, const Device &device)
{
    session.see("終了");
    session.send(device.path + enter);
    session.see(std::string("┤ ") + device.name);
}

void press(Session &session, int tabs)
{
    for (int i = 0; i < tabs; ++i)
        session.send(tab);
    session.send(enter);
}

std::string inTestName(std::string text)
{
    std::ranges::replace_if(
        text, [](char c) { return !isalnum(c); }, '_');
    return text;
}
