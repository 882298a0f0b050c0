// SPDX-License-Identifier: GPL-2.0-or-later
// The description of a machine, as a TOML file gives it. The format is in yat-machine(5).
#pragma once

#include "sim/machine.h"

#include <string>

namespace sim {

// The machine that a description says, at rest: see atRest. The file's name is for the mistakes,
// all of which are thrown as one yat::Problem, a line each: "FILE:LINE: what is wrong, what was
// expected".
Machine parseDescription(const std::string &toml, const std::string &file);

} // namespace sim
