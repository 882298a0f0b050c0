// SPDX-License-Identifier: GPL-2.0-or-later
// Words for the values of include/yat that the simulated machine and yatctl share.
#pragma once

#include "yat/device.h"
#include "yat/ft.h"

#include <string_view>

namespace yat {

struct MachineType {
    int value;
    std::string_view word;
};

inline constexpr MachineType machineTypes[] = {
    {YAT_MACHINE_ALDER, "ALDER"},
    {YAT_MACHINE_BIRCH, "BIRCH"},
    {YAT_MACHINE_CEDAR, "CEDAR"},
    {YAT_MACHINE_PLAIN, "PLAIN"},
};

struct DeviceClass {
    int value;
    std::string_view shortName, alias; // before the number: as written, and as also accepted
    std::string_view key;              // in [supports] of a description, and what yatctl calls it
    std::string_view word;             // in the state, and of an adapter in a description
};

inline constexpr DeviceClass deviceClasses[] = {
    {YAT_CLASS_CPU_MODULE, "cpu", "cpu", "cpu_module", "CPU"},
    {YAT_CLASS_PCI_MODULE, "pci", "pci", "pci_module", "PCI"},
    {YAT_CLASS_SCSI_ADAPTER, "scsi", "scsi", "scsi_adapter", "SCSI"},
    {YAT_CLASS_ETHERNET_ADAPTER, "ethernet", "eth", "ethernet_adapter", "Ethernet"},
};

} // namespace yat
