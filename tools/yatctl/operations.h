// SPDX-License-Identifier: GPL-2.0-or-later
// What is done to a device.
#pragma once

#include "yatctl/request.h"

namespace yatctl {

// Carries out the operation that the command is named after.
void operate(const Request &request);

} // namespace yatctl
