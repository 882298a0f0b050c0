// SPDX-License-Identifier: GPL-2.0-or-later
// Waiting for what an operation began.
#pragma once

#include "yatctl/machine.h"

namespace yatctl {

// Waits until a device, as it was read before the operation, has arrived in a state,
// YAT_DEVICE_..., at most so many seconds; at a terminal a line says how far it is. Throws a
// Failure with what it is instead.
void waitFor(Device &device, int state, int seconds);

// Lets time pass.
void sleepFor(double seconds);

} // namespace yatctl
