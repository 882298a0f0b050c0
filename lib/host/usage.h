// What keeps a slot from being powered off.
#pragma once

#include "host/machine.h"

namespace host {

// Why the functions in a slot have to stay, as somebody uses what hangs below them; empty when
// nobody is known to.
std::string useOf(const Machine &machine, const Slot &slot);

} // namespace host
