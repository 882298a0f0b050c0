// SPDX-License-Identifier: GPL-2.0-or-later
// This server as it is now.
#pragma once

#include "host/machine.h"
#include "host/memory.h"

namespace host {

// Reads it anew. Throws Problem when the kernel tells nothing of its processors.
Machine readMachine();

// What is remembered of it. A file that can't be used is traced, and says nothing.
Memory recall();

// Takes another baseline for one that a counter fell below, or the counter would seem to fall once
// more when it gets there. One that can't be written is traced.
void rememberBaseline(const std::string &key, const Counts &before, const Counts &now);

} // namespace host
