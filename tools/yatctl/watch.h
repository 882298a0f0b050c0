// SPDX-License-Identifier: GPL-2.0-or-later
// Changes of states.
#pragma once

#include "yatctl/request.h"

namespace yatctl {

// Prints each change, until the program is ended.
void watch(const Request &request);

} // namespace yatctl
