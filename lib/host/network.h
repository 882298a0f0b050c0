// SPDX-License-Identifier: GPL-2.0-or-later
// What network interfaces are used for.
#pragma once

#include "host/reason.h"

#include <string>
#include <vector>

namespace host {

// Why what hangs below these paths has to stay: an interface there, or one that stands on it, has
// an address or a route, or another one stands on it at all. Nothing otherwise.
MaybeReason useOfInterfaces(const std::vector<std::string> &paths);

} // namespace host
