// SPDX-License-Identifier: GPL-2.0-or-later
// The words for the devices of a machine: what they are called, and what they show.
#pragma once

#include "sim/machine.h"

#include <string>

namespace sim {

// The state as the device windows show it: at most 19 columns. In UTF-8.
std::string stateText(const Machine &machine, const Device &device, bool japanese);

// The BIOS status, which tells an update under way. In UTF-8.
std::string biosStatusText(const Machine &machine, const Device &device, bool japanese);

std::string mtbfTypeText(int type); // "0 (stay down)"

// "cpu1", "pci2", "scsi1", "ethernet3"; "" for the whole machine; "class7/1" for what is no device.
std::string nameOf(DeviceId id);

} // namespace sim
