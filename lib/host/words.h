// SPDX-License-Identifier: GPL-2.0-or-later
// What is shown of this server, in words.
#pragma once

#include "host/machine.h"

#include <string>

namespace host {

// The state of a module; nothing where the machine doesn't tell it, or for another device. The
// windows have two lines of 19 columns for it.
std::optional<std::string> stateText(const Machine &machine, const Device &device,
                                     const Counts &counts, bool japanese);

// The status of the BIOS.
std::string biosStatusText(bool japanese);

} // namespace host
