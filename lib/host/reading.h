// This server as it is now.
#pragma once

#include "host/machine.h"

namespace host {

// Reads it anew. Throws Problem when the kernel tells nothing of its processors.
Machine readMachine();

} // namespace host
