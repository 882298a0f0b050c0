// SPDX-License-Identifier: GPL-2.0-or-later
// This server as it is now.
#pragma once

#include "host/machine.h"

namespace host {

// Reads it anew. Throws Problem when the kernel tells nothing of its processors.
Machine readMachine();

} // namespace host
