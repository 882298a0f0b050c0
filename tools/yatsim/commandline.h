// SPDX-License-Identifier: GPL-2.0-or-later
// The command line: what there is to say, and the help.
#pragma once

#include "yatsim/request.h"

#include <optional>

namespace sim {

// What a command line asks for. A wrong one is thrown as a yat::Problem; none when it asked for
// help, which is printed.
std::optional<Request> parseCommandLine(int argc, char **argv);

} // namespace sim
