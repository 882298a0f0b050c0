// SPDX-License-Identifier: GPL-2.0-or-later
// What PCI functions are called, by libpci and its list of names.
#pragma once

#include "host/machine.h"

namespace host {

// The name of a function's model or at least of its maker, in at most 28 bytes; its address for one
// that is not in the list.
std::string nameOf(const Function &function);

// Lets go of the list, until the next name is asked for.
void forgetNames();

} // namespace host
