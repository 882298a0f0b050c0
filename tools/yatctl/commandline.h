// SPDX-License-Identifier: GPL-2.0-or-later
// The command line: what there is to say, and the help.
#pragma once

#include "yatctl/request.h"

#include <optional>

namespace yatctl {

// Reads a command line; none when it asked for help or the version, which is printed. A wrong one
// is thrown as a Failure.
std::optional<Request> parseCommandLine(int argc, char **argv);

} // namespace yatctl
