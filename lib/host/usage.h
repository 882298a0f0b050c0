// SPDX-License-Identifier: GPL-2.0-or-later
// What keeps a slot from being powered off.
#pragma once

#include "host/machine.h"
#include "host/reason.h"

namespace host {

// Why the functions in a slot have to stay, as somebody uses what hangs below them, or the
// kernel does not tell whether; nothing when nobody does.
MaybeReason useOf(const Machine &machine, const Slot &slot);

} // namespace host
