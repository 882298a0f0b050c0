// SPDX-License-Identifier: GPL-2.0-or-later
// The user's consent to what changes the machine.
#pragma once

#include "yatctl/request.h"

namespace yatctl {

// Asks at a terminal whether that is to be done. Throws a Failure when it isn't, or when nobody can
// be asked. --yes answers.
void confirm(const Request &request, const std::string &what);

} // namespace yatctl
