// SPDX-License-Identifier: GPL-2.0-or-later
// What block devices are used for.
#pragma once

#include "host/reason.h"

#include <string>
#include <vector>

namespace host {

// Why what hangs below these paths has to stay: a disk there has a mounted file system, swap or a
// part of another device on it, or is held by the kernel. Nothing when none is.
MaybeReason useOfDisks(const std::vector<std::string> &paths);

} // namespace host
