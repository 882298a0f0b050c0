// SPDX-License-Identifier: GPL-2.0-or-later
// The PCI slots and functions of this server.
#pragma once

#include "host/machine.h"

namespace host {

// Those slots that have a power switch, in the order of their labels.
std::vector<Slot> readSlots();

// All functions, in the order of their addresses, with the slots that they are in and with what
// has been counted for them.
std::vector<Function> readFunctions(const std::vector<Slot> &slots);

} // namespace host
