// SPDX-License-Identifier: GPL-2.0-or-later
// What keeps a slot from being powered off.
#pragma once

#include "host/machine.h"
#include "host/reason.h"

namespace host {

// Why the functions in a slot have to stay, as somebody uses what hangs below them; nothing when
// nobody is known to.
MaybeReason useOf(const Machine &machine, const Slot &slot);

} // namespace host
